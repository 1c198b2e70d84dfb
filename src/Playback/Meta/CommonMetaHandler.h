#pragma once

#include "Interfaces/Data.h"

namespace Playback {

class AnnotationWriter;
class WindowManager;

/// The meta commands that need no GL: annotations, messages to the person who watches, sizes of windows. Both objects
/// may be null and are not owned.
class CommonMetaHandler : public Data::NullMetaHandler {
public:
    explicit CommonMetaHandler(WindowManager* windowManager) : CommonMetaHandler(windowManager, nullptr) {}
    explicit CommonMetaHandler(AnnotationWriter* annotationWriter) : CommonMetaHandler(nullptr, annotationWriter) {}
    CommonMetaHandler(WindowManager* windowManager, AnnotationWriter* annotationWriter)
        : m_annotationWriter(annotationWriter), m_windowManager(windowManager)
    {
    }

    void ProcessTextAscii(const std::uint8_t* text, std::uint64_t length) override;
    void ProcessTextXML(const std::uint8_t* text, std::uint64_t length) override;
    void ProcessTextJSON(const std::uint8_t* text, std::uint64_t length) override;
    /// Prints the message on the console.
    void ProcessDisplayMessageCommand(const std::string& message) override;
    /// Asks the window of the surface to take the size.
    void ProcessSetWindowSizeCommand(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height) override;

private:
    AnnotationWriter* m_annotationWriter;
    WindowManager* m_windowManager;
};

} // namespace Playback
