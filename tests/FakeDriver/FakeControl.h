// What tests can ask of the fake driver, and tell it. A test finds it by the symbol `fake_control` of the library.
#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace Fake {

/// An argument or a return value: integers sign-extended, pointers as they are, floats as their 32 bits.
using Word = std::uint64_t;

template <class T> Word ToWord(T value)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<Word>(value);
    else if constexpr (std::is_floating_point_v<T>)
        return std::bit_cast<std::uint32_t>(value);
    else
        return static_cast<Word>(value);
}

template <class T> T FromWord(Word word)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<T>(word);
    else if constexpr (std::is_floating_point_v<T>)
        return std::bit_cast<float>(static_cast<std::uint32_t>(word));
    else
        return static_cast<T>(word);
}

/// The arguments of one call, in order.
class Arguments {
public:
    explicit Arguments(const Word* words) : m_words(words) {}
    /// For example Get<GLenum>(0), Get<GLuint*>(1)[0] = 7.
    template <class T> [[nodiscard]] T Get(std::size_t index) const { return FromWord<T>(m_words[index]); }

private:
    const Word* m_words;
};

/// Plays one function: writes its output arguments and returns its value.
using Player = std::function<Word(const Arguments&)>;

/// The fake driver of this process. Calls may come from any thread; it is told what to do from one.
///
/// Whole programs are tested with it by environment variables: PLAYBACK_FAKE_LOG (file that the log is added to), and
/// PLAYBACK_FAKE_ with the name of a setting.
class Control {
public:
    virtual ~Control() = default;

    /// Everything as it was when the driver was opened: answers, functions, strings, names, log.
    virtual void Reset() = 0;

    /// The calls so far, oldest first, such as "glGenTextures(1) = [901]": input arguments in brackets; after the
    /// equals sign the return value and what was written to output arguments. Enums by name, object names and handles
    /// as numbers, untyped memory of up to 16 bytes in hex.
    [[nodiscard]] virtual std::vector<std::string> Log() const = 0;
    virtual void ClearLog() = 0;

    /// `player` takes the place of the driver's own answer; an empty one gives it back.
    virtual void Answer(const std::string& function, Player player) = 0;

    /// VERSION         GL_VERSION, such as "OpenGL ES 3.0"; it does not change which functions there are
    /// EXTENSIONS      space-separated names; at start every extension that the API description names
    /// EGL_EXTENSIONS  the same for the display
    /// MISSING         functions that cannot be found from now on, by dlsym or eglGetProcAddress, although those
    /// already
    ///                 found go on to work: "glFlush,glFinish", or every tenth of all from number 3 on, "tenth:3"
    /// STUCK           a function that never comes back
    /// SHIFT           added to all names, handles and locations but those of attributes, so that nothing is called
    /// what
    ///                 it was called on another driver
    virtual void Set(const std::string& setting, const std::string& value) = 0;

    /// The next glGetError or eglGetError returns this, once.
    virtual void SetError(unsigned int error) = 0;
    virtual void SetEGLError(int error) = 0;
};

} // namespace Fake

extern "C" Fake::Control* fake_control();
