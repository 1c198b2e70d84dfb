// Compiles only when every described prototype is the one of the platform's headers.
#include <type_traits>

#define GL_GLES_PROTOTYPES 0
#include "Interfaces/ProcTables.h"

#include <GLES/gl.h>
// Needs the types of the header above.
#include <GLES/glext.h>

#define CHECK_PROTOTYPE(table, function, type)                                                                         \
    static_assert(std::is_same_v<decltype(Core::table##ProcTable::function), type>, #function);
#include "tests/PrototypeChecks.inc"
