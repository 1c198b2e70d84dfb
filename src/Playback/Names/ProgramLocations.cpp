#include "Playback/Names/ProgramLocations.h"

#include <iterator>

#include "Playback/Names/ResourceMaps.h"

namespace Playback {
namespace {

/// What the messages call one kind of location, which is not the same everywhere.
struct KindText {
    const char* mapping;
    const char* ofProgram;
    const char* ofContext;
    const char* mapped;
};

/// In the order of LocationKind. The last two kinds are recorded and never looked up.
constexpr KindText KindTexts[] = {
    {"attrib", "attrib location", "attribute location", "vertex attrib location"},
    {"uniform", "uniform location", "uniform location", "uniform location"},
    {"uniform block", "uniform block location", "uniform block index", "uniform block index"},
    {"frag data location", nullptr, nullptr, nullptr},
    {"frag data index", nullptr, nullptr, nullptr},
};

} // namespace

void ProgramLocations::Add(LocationKind kind, unsigned int program, int location, int liveLocation)
{
    static_assert(std::size(KindTexts) == static_cast<std::size_t>(LocationKind::Count));
    if (!IsValidId(program)) {
        REPORT("Rejecting %s mapping for invalid program ID %d.", KindTexts[static_cast<std::size_t>(kind)].mapping,
               program);
        return;
    }
    m_contexts.CreateCurrent(false).Locations(kind).Set(program, location, liveLocation);
}

int ProgramLocations::GetUnmapped(LocationKind kind, unsigned int program, int location) const
{
    const KindText& text = KindTexts[static_cast<std::size_t>(kind)];
    if (!IsValidId(program)) {
        // A vertex attribute without a program is nothing unusual: arrays can be set up before a program is used.
        if (program != 0 || kind != LocationKind::Attrib)
            REPORT("Attempting to retrieve %s for invalid program ID %d.", text.ofProgram, program);
        return location;
    }
    const ContextResources* resources = m_contexts.Current(false);
    if (!resources) {
        REPORT("Attempting to retrieve %s %d from context %d that has no entry in the GL resource table.",
               text.ofContext, location, m_contexts.Key(false));
        return location;
    }
    const auto* locations = resources->Locations(kind).Find(program);
    if (!locations) {
        REPORT("No resource entry for program %d", program);
        return location;
    }
    if (!Find(*locations, location)) {
        REPORT("No mapping for %s %d", text.mapped, location);
        return location;
    }
    // What is mapped and comes here is -1.
    if (location != -1 && kind != LocationKind::UniformBlock)
        REPORT("Valid %s location %d mapped to -1", text.mapping, location);
    return -1;
}

} // namespace Playback
