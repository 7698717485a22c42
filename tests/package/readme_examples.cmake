# The README shows each example whole. Run with -D for: README, EXAMPLES
cmake_minimum_required(VERSION 3.25)

file(READ ${README} readme)
foreach(example direct embed)
    file(READ ${EXAMPLES}/${example}.cpp source)
    string(FIND "${readme}" "```cpp\n${source}```" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "README.md does not show examples/${example}.cpp as it is")
    endif()
endforeach()
