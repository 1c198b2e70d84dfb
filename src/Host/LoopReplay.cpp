#include "Host/LoopReplay.h"

#include "Host/Engine.h"
#include "Interfaces/Core.h"
#include "Trim/Loop/LoopStart.h"

namespace Host {

namespace {

/// The replay at hand between two frames.
class PausedReplay : public Replay::LiveCalls {
public:
    PausedReplay(Data::CaptureFile& capture, Engine& engine)
        : m_processor(*capture.GetFrameProcessor()), m_engine(engine)
    {
    }

    void SetThread(std::uint32_t thread) override
    {
        m_processor.Calls().SetThread(thread);
        m_processor.Meta().SetThread(thread);
    }
    bool Call(Data::CallId call, std::uint8_t* record) override
    {
        const std::uint64_t errors = Core::Log::ErrorCount();
        m_processor.Calls().Decode(call, record);
        return Core::Log::ErrorCount() == errors;
    }
    [[nodiscard]] Data::MetaHandler& Restorer() override { return m_engine.Restorer(); }
    [[nodiscard]] const Playback::GLResourceTable& Names() const override { return m_engine.Names(); }

private:
    Data::FrameProcessor& m_processor;
    Engine& m_engine;
};

/// What was done for a start belongs to no frame.
void Finish()
{
    const auto& gl = Core::KHRLayer::GLESProc();
    const auto getContext = Core::KHRLayer::EGLProc().eglGetCurrentContext;
    if (gl.glFinish && getContext && getContext() != nullptr)
        gl.glFinish();
}

} // namespace

std::unique_ptr<LoopReplay> LoopReplay::Find(const std::string& file, Util::FrameRange frames, std::string& reason)
{
    std::unique_ptr<Trim::LoopStart> start = Trim::LoopStart::Find(file, frames, reason);
    return start ? std::unique_ptr<LoopReplay>(new LoopReplay(std::move(start), frames.first)) : nullptr;
}

LoopReplay::LoopReplay(std::unique_ptr<Trim::LoopStart> start, std::uint32_t first)
    : m_start(std::move(start)), m_first(first)
{
}

LoopReplay::~LoopReplay() = default;

std::string LoopReplay::Keep(Data::CaptureFile& capture, Engine& engine)
{
    m_place = capture.AtFrameEnd();
    PausedReplay replay(capture, engine);
    std::string reason = m_start->Keep(replay);
    Finish();
    m_isKept = reason.empty();
    return reason;
}

void LoopReplay::Restore(Data::CaptureFile& capture, Engine& engine) const
{
    PausedReplay replay(capture, engine);
    m_start->Restore(replay);
    capture.GoTo(m_place);
    Finish();
}

} // namespace Host
