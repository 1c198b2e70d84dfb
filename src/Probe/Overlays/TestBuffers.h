// Copies of what the depth and stencil tests of a draw compare with, in framebuffers of the probe's own.
#pragma once

#include <memory>
#include <string>

#include "Interfaces/GLState.h"

namespace Probe {

/// Size and formats of the depth and stencil buffers of a framebuffer.
struct TestStorage {
    int width = 0;
    int height = 0;
    bool hasDepth = false;
    bool hasStencil = false;
    /// Of a copy, and what it is attached as. It has a stencil buffer for counting wherever OpenGL ES has a format with
    /// one and with the same depth.
    unsigned int format = 0;
    unsigned int attachment = 0;
    /// Why there is none; empty otherwise.
    std::string problem = {};

    /// That of the framebuffer that is drawn to.
    [[nodiscard]] static TestStorage OfDrawFramebuffer();
    [[nodiscard]] bool HasRoomToCount() const;
};

/// A framebuffer object with depth and stencil, and a colour buffer of 8 bits a component where that is wanted. It has
/// one sample a pixel. Needs the context that it was made in.
class TestFramebuffer {
public:
    enum class Color { None, Bytes };
    TestFramebuffer(const TestStorage& storage, Color color);
    ~TestFramebuffer();
    TestFramebuffer(const TestFramebuffer&) = delete;
    TestFramebuffer& operator=(const TestFramebuffer&) = delete;

    /// Live name.
    [[nodiscard]] unsigned int Name() const { return m_framebuffer; }
    /// Copies depth and stencil of a framebuffer of that storage. False where the driver refuses it. All GL state is
    /// put back; pending errors are lost.
    bool CopyFrom(unsigned int framebuffer, const TestStorage& storage) const;

private:
    unsigned int m_framebuffer = 0;
    unsigned int m_tests = 0;
    unsigned int m_color = 0;
};

/// Depth and stencil of the framebuffer that is drawn to, as they are when this is made. All GL state is put back;
/// pending errors are lost.
class TestBuffers {
public:
    TestBuffers();

    [[nodiscard]] const TestStorage& Storage() const { return m_storage; }
    [[nodiscard]] unsigned int Framebuffer() const { return m_framebuffer ? m_framebuffer->Name() : 0; }

private:
    bool TakeWideDepth();

    TestStorage m_storage;
    std::unique_ptr<TestFramebuffer> m_framebuffer;
};

} // namespace Probe
