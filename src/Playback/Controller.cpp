#include "Playback/Controller.h"

#include "Interfaces/Data.h"
#include "Playback/Windows/Window.h"
#include "Playback/Windows/WindowManager.h"

namespace Playback {

Controller::Controller(WindowManager* windowManager, Data::CaptureFileReader* reader)
    : m_windowManager(windowManager), m_reader(reader)
{
}

bool Controller::FrameForward()
{
    if (!m_hasMoreFrames)
        return false;
    m_hasMoreFrames = m_reader->GetFrameProcessor()->ProcessNextFrame();
    if (Window* window = m_windowManager ? m_windowManager->GetActiveWindow() : nullptr)
        window->SetFrameCount(m_reader->GetCurrentFrame(), m_reader->GetFrameCount());
    return m_hasMoreFrames;
}

bool Controller::Update()
{
    if (!m_paused)
        m_hasMoreFrames = FrameForward();
    return m_hasMoreFrames;
}

} // namespace Playback
