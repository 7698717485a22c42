// For `./dev lint`: makes the compiler lay out the table of every interface, which it then prints.
#include "tests/object/slotstable.h"

template <typename... Operation>
void layOut(Operation...) {}

#define KEL_POINTER_TO(Type, operation, position) &Type::operation,
void layOutAll() {
    layOut(KEL_SLOTS(KEL_POINTER_TO) nullptr);
}
