"""Makes MkDocs read this tree as it stands.

- The pages keep their paths: README.md at the root is the first page, docs/xml.md becomes docs/xml.html.
- What a page links to beside pages is shown: a source file as a page of code, a folder as a page that lists its files.
- Names of documented classes, members and headers in code spans lead to the API reference.
- The search finds pages and classes, and its index is a script: a page opened from a folder may load nothing else.
- A page that the navigation lacks is an error. links.py looks at all links of the finished site.
"""
import glob
import json
import logging
import os
import re
import sys
import xml.etree.ElementTree as ElementTree

from mkdocs.structure.files import File, Files
from mkdocs.structure.nav import Link

sys.path.insert(0, os.path.dirname(__file__))
import diagrams  # noqa: E402

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
TAGS = os.path.join(ROOT, "build/docs/api.tag")
API = "api/"
PAGES = ("*.md", "docs/*.md", "docs/decisions/*.md")
LANGUAGES = {".h": "cpp", ".cpp": "cpp", ".xml": "xml", ".xsl": "xml", ".xsd": "xml", ".settings": "ini", ".txt": "text"}
MARKDOWN_LINK = re.compile(r"\]\(([^)#\s]+)")
log = logging.getLogger("mkdocs.hooks")


def below(folder):
    """The files of a folder and of its folders, as paths from the root."""
    return sorted(os.path.relpath(os.path.join(where, name), ROOT)
                  for where, _, names in os.walk(os.path.join(ROOT, folder)) for name in names)


class Code(File):
    """A source file, or with a name of its own the list of a folder, as a page."""

    def is_documentation_page(self):
        return True

    def _get_dest_path(self, use_directory_urls):
        return self.src_uri + ".html"

    def is_static_page(self):
        return False

    def is_media_file(self):
        return False


def kind_of(path):
    """Sources become pages; what is data (a binary file, a JSON Schema) stays as it is."""
    return Code if os.path.splitext(path)[1] in LANGUAGES else File


def linked_files(pages):
    """What pages link to that is no page: files, and folders without an index."""
    for page in pages:
        with open(os.path.join(ROOT, page), encoding="utf-8") as source:
            text = re.sub(r"^```.*?^```", "", source.read(), flags=re.M | re.S)
        for target in MARKDOWN_LINK.findall(text):
            path = os.path.normpath(os.path.join(os.path.dirname(page), target))
            if "://" not in target and path not in pages and os.path.join(path, "README.md") not in pages:
                yield path


def slug(title, separator):
    """The name of a heading as code hosts make it."""
    return re.sub(r"\s", separator, re.sub(r"[^\w\s-]", "", title.strip().lower()))


def on_config(config):
    def expand(item):
        if isinstance(item, dict):
            return [{title: expand(value)[0] if isinstance(value, str) else
                     [child for part in value for child in expand(part)] for title, value in item.items()}]
        return sorted(os.path.relpath(path, ROOT) for path in glob.glob(os.path.join(ROOT, item))) or [item]

    config["nav"] = [section for item in config["nav"] for section in expand(item)]
    config["mdx_configs"]["toc"]["slugify"] = slug
    config["mdx_configs"]["pymdownx.superfences"] = {
        "custom_fences": [{"name": "mermaid", "class": "diagram", "format": diagrams.fence}]}
    return config


def on_files(files, config):
    docs = config["docs_dir"]
    kept = [file for file in files if os.path.join(docs, file.src_uri) != file.abs_src_path]  # those of the theme
    pages = sorted(os.path.relpath(path, ROOT) for pattern in PAGES for path in glob.glob(os.path.join(ROOT, pattern)))
    found = {path: File for path in pages}
    for path in linked_files(pages):
        if os.path.isdir(os.path.join(ROOT, path)):
            found[os.path.join(path, "index")] = Code
            found.update((inner, kind_of(inner)) for inner in below(path))
        elif os.path.exists(os.path.join(ROOT, path)):
            found[path] = kind_of(path)
    return Files(kept + [kind(path, ROOT, config["site_dir"], False) for path, kind in found.items()])


def on_nav(nav, config, files):
    for page in files.documentation_pages():
        if not isinstance(page, Code) and page.page not in nav.pages:
            log.warning("mkdocs.yml: the navigation lacks %s", page.src_uri)
    for section in nav.items:
        for link in section.children:
            if isinstance(link, Link):
                link.url = link.url.lstrip("/")  # written from the site's root; else MkDocs looks for a page
    return nav


def on_page_read_source(page, config):
    path = page.file.src_uri
    if not isinstance(page.file, Code):
        return None
    if os.path.basename(path) == "index":
        folder = os.path.dirname(path)
        names = (os.path.relpath(inner, folder) for inner in below(folder))
        return f"# {folder}/\n\n" + "".join(f"- [{name}]({name})\n" for name in names)
    with open(os.path.join(ROOT, path), encoding="utf-8") as source:
        return f"# {path}\n\n````{LANGUAGES[os.path.splitext(path)[1]]}\n{source.read().rstrip()}\n````\n"


def read_names():
    """Where the reference documents a class, a member or a header, by the names that a page may give it."""
    names = {}
    ambiguous = set()
    for compound in ElementTree.parse(TAGS).getroot():
        kind, name, file = (compound.get("kind"), compound.findtext("name"), compound.findtext("filename"))
        if kind == "file":
            path = os.path.relpath(os.path.join(compound.findtext("path"), name), ROOT)
            names[path.removeprefix("src/")] = file
        elif kind in ("class", "struct"):
            short = name.rpartition("::")[2]
            if names.get(short, file) != file:
                ambiguous.add(short)
            names[name] = names[short] = file
            for member in compound.findall("member"):
                target = f"{member.findtext('anchorfile')}#{member.findtext('anchor')}"
                for owner in (name, short):
                    names.setdefault(f"{owner}::{member.findtext('name')}", target)
    return {name: target for name, target in names.items() if name not in ambiguous}


NAMES = read_names()


def on_page_content(html, page, config, files):
    up = "../" * page.file.dest_uri.count("/")

    def reference(match):
        name = re.sub(r"^xml::|\(\)$", "", match.group(2))
        target = NAMES.get(name)
        return f'<a class="api" href="{up}{API}{target}">{match.group(0)}</a>' if target else match.group(0)

    def outside(pattern, text):
        return "".join(part if part.startswith(("<a ", "<pre", "<h")) else re.sub(pattern, reference, part)
                       for part in re.split(r"(<a .*?</a>|<pre.*?</pre>|<h\d.*?</h\d>)", text, flags=re.S))

    html = re.sub(r'(<a href="(?![a-z]+:)[^"#]*/)"', r'\1index.html"', html)
    if isinstance(page.file, Code):
        return html
    html = html.replace("<table>", '<div class="table"><table>').replace("</table>", "</table></div>")
    return outside(r"(<code>)([\w:./]+(?:\(\))?)</code>", html)


def on_post_build(config):
    """The index, with the classes of the reference, as a script."""
    folder = os.path.join(config["site_dir"], "search")
    with open(os.path.join(folder, "search_index.json"), encoding="utf-8") as source:
        index = json.load(source)
    index["docs"] = [entry for entry in index["docs"] if not entry["location"].startswith("examples/")]
    for compound in ElementTree.parse(TAGS).getroot():
        if compound.get("kind") in ("class", "struct"):
            members = dict.fromkeys(member.findtext("name") for member in compound.findall("member"))
            index["docs"].append({"location": API + compound.findtext("filename"), "text": " ".join(members),
                                  "title": compound.findtext("name") + " (API)"})
    with open(os.path.join(folder, "search_index.js"), "w", encoding="utf-8") as script:
        script.write("var __search = {\n"
                     '    transform: query => query.replace(/[^\\w\\u0080-\\uFFFF"]+/g, " ").trim(),\n'
                     f"    index: Promise.resolve({json.dumps(index, ensure_ascii=False)})\n}};\n")
    os.remove(os.path.join(folder, "search_index.json"))
