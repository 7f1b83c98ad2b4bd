# The README's example must be the compiled one: everything after the includes of examples/print_instruments.cpp.
file(READ ${SOURCE_DIR}/README.md readme)
file(READ ${SOURCE_DIR}/examples/print_instruments.cpp example)
string(FIND "${example}" "class Printer" start)
string(SUBSTRING "${example}" ${start} -1 body)
string(FIND "${readme}" "```cpp\n${body}```" found)
if(found EQUAL -1)
    message(FATAL_ERROR "README.md does not show examples/print_instruments.cpp as it stands: copy it from 'class Printer' on")
endif()
