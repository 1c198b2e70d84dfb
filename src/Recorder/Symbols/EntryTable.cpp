// What a program is handed for each name: our own functions, by address only, so their types do not matter here.

#include <array>

#include "Recorder/Symbols/LiveFunctions.h"

#define RECORDER_ENTRY(name) extern "C" void name();
#include "Recorder/Entries.inc"
#undef RECORDER_ENTRY

namespace Recorder {

extern const std::array<EntryPoint, EntryCount> entryPoints;
const std::array<EntryPoint, EntryCount> entryPoints = {{
#define RECORDER_ENTRY(name) {#name, reinterpret_cast<void*>(&::name)},
#include "Recorder/Entries.inc"
#undef RECORDER_ENTRY
}};

} // namespace Recorder
