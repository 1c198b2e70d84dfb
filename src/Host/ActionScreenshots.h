#pragma once

#include <string>

#include "Data/Records/Actions.h"
#include "Data/State/StateModel.h"
#include "Util/FrameRange.h"

namespace Playback {
class GLResourceTable;
}

namespace Host {

class Screenshots;

/// Pictures of what is between the draws that -screenshots names: clears, copies, dispatches, mipmaps, and blits and
/// draws that have no number of their own. Files are named by the number of the action: "frame3_clear0.1", and of the
/// images of a texture "frame3_mipmap2.1_level1".
class ActionScreenshots : public Data::ActionHandler {
public:
    /// Of frame `frame`, what comes after draw `first` - 1 and before draw `last` + 1. `prefix` is what all files begin
    /// with; the others outlive this.
    ActionScreenshots(Screenshots& screenshots, const Playback::GLResourceTable& names, std::string prefix,
                      std::uint32_t frame, Util::FrameRange draws)
        : m_screenshots(screenshots), m_names(names), m_prefix(std::move(prefix)), m_frame(frame), m_draws(draws)
    {
    }

    void ProcessAction(std::uint32_t frame, Data::ActionNumber number, const Data::CallArguments& call) override;
    /// Follows the calls, for the captured names of what they write to.
    [[nodiscard]] Data::StateModel& Model() { return m_model; }

private:
    void TakeImages(const std::string& name, const Data::CallArguments& call);

    Screenshots& m_screenshots;
    const Playback::GLResourceTable& m_names;
    const std::string m_prefix;
    const std::uint32_t m_frame;
    const Util::FrameRange m_draws;
    Data::StateModel m_model;
};

} // namespace Host
