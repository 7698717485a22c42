#!/usr/bin/env python3
"""Looks at every page of the finished guide: each link leads to a file of the site, and to an anchor in it if it names
one; nothing that a page needs is loaded from elsewhere. Usage: links.py FOLDER
"""
import os
import sys
from html.parser import HTMLParser
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.names = set()
        self.links = []   # to be followed
        self.loads = []   # needed to show the page
        with open(path, encoding="utf-8") as source:
            self.feed(source.read())

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.names.update(value for key in ("id", "name") if (value := values.get(key)))
        if tag in ("a", "area") and values.get("href"):
            self.links.append(values["href"])
        elif tag == "link" and values.get("rel") not in ("canonical", "prev", "next"):
            self.loads.append(values.get("href"))
        elif values.get("src"):
            self.loads.append(values["src"])


def main(root):
    pages = {}

    def read(path):
        return pages.get(path) or pages.setdefault(path, Page(path))

    def fault(path, link, is_loaded):
        parts = urlsplit(link)
        if parts.scheme or parts.netloc:
            return "is not part of the site" if is_loaded and parts.scheme != "data" else None
        target = os.path.normpath(os.path.join(os.path.dirname(path), unquote(parts.path))) if parts.path else path
        if not os.path.isfile(target):
            return "has no such file"
        if parts.fragment and target.endswith(".html") and unquote(parts.fragment) not in read(target).names:
            return "has no such anchor"
        return None

    faults = []
    for folder, folders, names in os.walk(root):
        if folder == root:
            folders.remove("api")  # Doxygen's own pages are its affair
        for path in sorted(os.path.join(folder, name) for name in names if name.endswith(".html") and name != "404.html"):
            page = read(path)
            for link, is_loaded in [(link, False) for link in page.links] + [(link, True) for link in page.loads]:
                if what := fault(path, link, is_loaded):
                    faults.append(f"{os.path.relpath(path, root)}: broken link: {link} {what}")
    print("\n".join(faults), file=sys.stderr)
    return 1 if faults else 0


sys.exit(main(sys.argv[1]))
