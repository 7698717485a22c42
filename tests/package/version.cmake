# The newest entries of the changelogs are those of this version.
foreach(log CHANGELOG.md debian/changelog)
    file(STRINGS ${ROOT}/${log} entries REGEX "^(## |msxml-parser )")
    list(GET entries 0 newest)
    string(FIND "${newest}" "${VERSION}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "${log} begins with '${newest}', but the version is ${VERSION}")
    endif()
endforeach()
