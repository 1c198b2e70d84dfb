#include "Probe/Actions/Uses.h"

namespace Probe {

std::vector<ActionReads> ReadsOfFrame(Replayer& replayer, std::uint32_t last)
{
    std::vector<ActionReads> all;
    while (replayer.ToAction() == Replayer::Stop::Action && replayer.Action().call <= last) {
        if (!replayer.HasContext())
            continue;
        std::vector<Input> inputs = replayer.FindInputs();
        std::erase_if(inputs, [](const Input& input) { return input.kind == Input::Kind::Uniform; });
        all.push_back({replayer.Action().call, std::move(inputs)});
    }
    return all;
}

} // namespace Probe
