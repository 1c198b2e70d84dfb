// The inside of the fake driver.
#pragma once

#include <fstream>
#include <map>
#include <mutex>
#include <unordered_map>

#include "FakeDriver/Function.h"

namespace Fake {

/// What the driver answers by itself. It knows objects only as far as applications ask about them: names and handles
/// rise, GL names from 901 and EGL handles from 501, with one series each for all kinds, so that a name of one kind is
/// never mistaken for one of another.
struct Objects {
    /// By the names that Control::Set takes.
    std::map<std::string, std::string> settings;
    unsigned int error = 0;
    int eglError = 0x3000;
    /// Made so far.
    Word names = 0;
    Word handles = 0;
    /// Per kind of location: (program, name) to location.
    std::map<std::pair<Answer, std::pair<Word, std::string>>, Word> locations;
    /// Bytes of the last glBufferData, and memory of a mapped buffer, by target.
    std::unordered_map<Word, std::int64_t> bufferBytes;
    std::unordered_map<Word, std::vector<std::uint8_t>> mapped;
    /// Name of the buffer that is bound to GL_PIXEL_PACK_BUFFER, where glReadPixels then writes to.
    Word pixelPackBuffer = 0;
    /// Width and height of pbuffers, by handle.
    std::unordered_map<Word, std::pair<int, int>> surfaceSizes;
    /// As last made current: display, draw, read, context.
    Word current[4] = {};

    /// Added to each name, handle and location, but those of attributes.
    [[nodiscard]] Word Shift() const { return std::stoull(settings.at("SHIFT")); }
    Word NewName() { return 901 + Shift() + names++; }
    Word NewHandle() { return 501 + Shift() + handles++; }
    Word Play(const Function& function, const Word* args);
};

std::vector<std::string> Split(const std::string& text, char separator);

class Driver final : public Control {
public:
    static Driver& Instance();

    Driver();
    void Reset() override;
    std::vector<std::string> Log() const override;
    void ClearLog() override;
    void Answer(const std::string& function, Player player) override;
    void Set(const std::string& setting, const std::string& value) override;
    void SetError(unsigned int error) override;
    void SetEGLError(int error) override;

    bool IsMissing(const Function& function) const;
    Word Invoke(const Function& function, const Word* args);

private:
    /// A player runs under it.
    mutable std::recursive_mutex m_mutex;
    std::vector<std::string> m_log;
    std::ofstream m_file;
    std::unordered_map<std::string, Player> m_players;
    Objects m_objects;
};

} // namespace Fake
