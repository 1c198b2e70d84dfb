// The fake driver for tests that link the runtime: they play calls into the live function tables, and compare what
// arrives at the driver.
#pragma once

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "FakeDriver/FakeControl.h"
#include "Interfaces/Core.h"

/// The fake driver as the driver of this process, while the object lives.
///
///     FakeDriver driver;
///     driver.Load();
///     ...
///     EXPECT_THAT(driver.Log(), ElementsAre("glGenTextures(1) = [901]", "glBindTexture(GL_TEXTURE_2D, 901)"));
class FakeDriver {
public:
    /// Opened and as new; what the driver lacks can be said before Load.
    FakeDriver() : m_library(dlopen(FAKE_DRIVER_DIR "/libEGL.so.1", RTLD_NOW | RTLD_LOCAL))
    {
        if (!m_library) {
            ADD_FAILURE() << dlerror();
            std::abort();
        }
        m_control = reinterpret_cast<decltype(&fake_control)>(dlsym(m_library, "fake_control"))();
        m_control->Reset();
        Core::KHRLayer::SetDriverDirectory(FAKE_DRIVER_DIR);
    }
    ~FakeDriver()
    {
        Core::KHRLayer::FreeGLES();
        Core::KHRLayer::FreeEGL();
        m_control->Reset();
    }
    FakeDriver(const FakeDriver&) = delete;
    FakeDriver& operator=(const FakeDriver&) = delete;

    /// Fills all function tables; the log then is empty.
    void Load()
    {
        Core::KHRLayer::LoadEGL();
        Core::KHRLayer::LoadGLESCore();
        Core::KHRLayer::LoadGLESExt();
        ClearLog();
    }

    /// What the driver was asked, oldest first, error queries left out: they follow nearly every call.
    [[nodiscard]] std::vector<std::string> Log() const
    {
        std::vector<std::string> calls = m_control->Log();
        std::erase_if(calls, [](const std::string& call) {
            return call.starts_with("glGetError(") || call.starts_with("eglGetError(");
        });
        return calls;
    }
    void ClearLog() { m_control->ClearLog(); }

    /// The driver's own answer to `function` gives way to this one.
    void Answer(const std::string& function, Fake::Player player) { m_control->Answer(function, std::move(player)); }
    template <class T> void Returns(const std::string& function, T value)
    {
        m_control->Answer(
            function, [value](const Fake::Arguments&) { return Fake::ToWord(value); });
    }

    /// For all else that the driver can be told.
    Fake::Control* operator->() { return m_control; }

private:
    void* m_library;
    Fake::Control* m_control = nullptr;
};

/// A test with the fake driver loaded.
class FakeDriverTest : public ::testing::Test {
protected:
    FakeDriverTest() { driver.Load(); }

    FakeDriver driver;
};
