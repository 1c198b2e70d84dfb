// The functions that the fake driver exports.
//
// Each symbol is an indirect function: the dynamic linker asks Find_NAME for its address whenever somebody looks the
// symbol up, and so a function can be missing in one test and there in the next. Nothing in this library refers to the
// symbols themselves, since that would settle their addresses when the library is opened.

#include "FakeDriver/Function.h"
#include "Interfaces/ProcTables.h"

using namespace Fake;

static std::int64_t Signed(Word word)
{
    return static_cast<std::int64_t>(word);
}

#include "tests/FakeDriver/EntryPoints.inc"

std::span<const Entry> Fake::Entries()
{
    return entryPoints;
}
