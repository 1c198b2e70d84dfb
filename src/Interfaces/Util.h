// What the engine calls of the utility library: command line, strings, paths, screenshots and GL value helpers.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Util {

namespace ParseArgs {

/// A parsed command line. Options keep their leading hyphen. The options that take a value and those that take none
/// are told apart by whoever parses.
struct CmdLineArgs {
    std::vector<std::string> switches;
    std::map<std::string, std::string> values;
    std::vector<std::string> positional;

    /// Exact, case-sensitive.
    [[nodiscard]] bool HasSwitch(const std::string& name) const;
    /// Null when the option was not given.
    [[nodiscard]] const std::string* FindValue(const std::string& name) const;
};

} // namespace ParseArgs

namespace String {

/// Leading decimal integer with optional sign, after white space; 0 when there is none. Saturates at the int range.
int ToInt(const std::string& text);
std::string FromInt(int value);
/// ASCII only.
std::string ToLower(std::string text);
/// Pieces between any of the characters in `separators`; empty pieces are dropped.
std::vector<std::string> Tokenize(const std::string& text, const std::string& separators);

} // namespace String

namespace Path {

/// The part after the last slash, extension included.
std::string GetFilePart(const std::string& path);
bool Exists(const std::string& path);
/// Creates the folder and those above it; false when that fails.
bool CreateFolder(const std::string& path);

} // namespace Path

/// Level for the log, as a number from 0 to 5 or a name: none, error, warning, notice, diagnostic, trace.
void ParseCmdArgsLogLevel(const std::string& text);
/// Comma-separated zone numbers that stay on; "all" for every zone.
void ParseCmdArgsLogZone(const std::string& text);
/// File or named pipe that receives the log.
void ParseCmdArgsLogIOPipe(const std::string& text);

/// Image formats of screenshots, as -screenshotformat chooses them.
enum class ImageFormat : int { Bmp = 1, Png = 2, Dds = 3 };

/// Writes screenshots of the current context's framebuffer and keeps the counters that name them.
class GLScreenshotHandler {
public:
    /// `opaque` writes alpha as 255 throughout.
    GLScreenshotHandler(ImageFormat format, bool opaque);
    virtual ~GLScreenshotHandler() = default;

    /// Reads the framebuffer bound for drawing and writes `name` plus the format's extension. `bufferMask` holds
    /// GL_COLOR_BUFFER_BIT, GL_DEPTH_BUFFER_BIT and GL_STENCIL_BUFFER_BIT; depth and stencil files get "_depth" and
    /// "_stencil" after the name, and are not written when the framebuffer has no such buffer or the driver cannot read
    /// it. All GL state is put back; pending GL errors are lost. A failure is logged.
    virtual void TakeScreenshot(const std::string& name, unsigned int bufferMask);
    /// Writes given pixels, bottom row first, rows packed without padding; `format` and `type` are GL transfer enums.
    /// False, with a log message, when the combination is not known or the file cannot be written.
    virtual bool WriteScreenshot(const std::string& name, unsigned int width, unsigned int height, const void* data,
                                 unsigned int format, unsigned int type);

    /// Swaps so far: the frame being replayed is frame number m_frame + 1 until its swap.
    std::uint32_t m_frame = 0;
    /// A frame whose screenshot is due whatever the settings say; 0 for none.
    std::uint32_t m_wantedFrame = 0;
    /// Draw calls so far in this frame.
    std::uint32_t m_draw = 0;
    /// Framebuffer blits so far in this frame.
    std::uint32_t m_blit = 0;

private:
    ImageFormat m_format;
    bool m_opaque;
    /// Bits of the buffers of which the log already said that the driver cannot read them.
    unsigned int m_reportedBuffers = 0;
};

/// The binding query that belongs to a buffer target, such as GL_ARRAY_BUFFER_BINDING; 0 for an unknown target.
unsigned int GetBindBuffer(unsigned int target);

/// Sized internal format that holds pixels of this transfer format and type; 0 when there is none.
unsigned int GetInternalFormat(unsigned int format, unsigned int type);

} // namespace Util
