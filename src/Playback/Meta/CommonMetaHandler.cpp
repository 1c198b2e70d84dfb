#include "Playback/Meta/CommonMetaHandler.h"

#include "Interfaces/Core.h"
#include "Playback/AnnotationWriter.h"
#include "Playback/Windows/Window.h"
#include "Playback/Windows/WindowManager.h"

namespace Playback {

void CommonMetaHandler::ProcessTextAscii(const std::uint8_t* text, std::uint64_t length)
{
    if (m_annotationWriter && text && length != 0)
        m_annotationWriter->WriteTextAscii(text, length);
}

void CommonMetaHandler::ProcessTextXML(const std::uint8_t* text, std::uint64_t length)
{
    if (m_annotationWriter && text && length != 0)
        m_annotationWriter->WriteTextXML(text, length);
}

void CommonMetaHandler::ProcessTextJSON(const std::uint8_t* text, std::uint64_t length)
{
    if (m_annotationWriter && text && length != 0)
        m_annotationWriter->WriteTextJSON(text, length);
}

void CommonMetaHandler::ProcessDisplayMessageCommand(const std::string& message)
{
    Core::Console::Print(Core::LogNotice, true, "%s", message.c_str());
}

void CommonMetaHandler::ProcessSetWindowSizeCommand(std::uint32_t /*display*/, std::uint32_t surface,
                                                    std::uint32_t width, std::uint32_t height)
{
    if (Window* window = m_windowManager ? m_windowManager->GetWindow(surface) : nullptr)
        window->EnqueueResizeRequest(width, height);
}

} // namespace Playback
