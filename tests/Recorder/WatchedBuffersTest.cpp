// Buffers that stay mapped: what the program writes is recorded, and what the driver writes is read.

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

#include "Client.h"
#include "ClientContext.h"
#include "FakeDriver/FakeControl.h"
#include "RecordedClient.h"

namespace Recorder {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class WatchedBuffersTest : public RecorderTest {};

constexpr GLbitfield Written = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT_EXT | GL_MAP_COHERENT_BIT_EXT;

/// What the driver maps, one after the other.
struct DriverMemory {
    DriverMemory()
    {
        control->Answer("glMapBufferRange", [this](const Fake::Arguments& arguments) {
            return Fake::ToWord(ofTarget[arguments.Get<GLenum>(0)] = mapped[maps++].data());
        });
        control->Answer("glGetBufferPointerv", [this](const Fake::Arguments& arguments) {
            *arguments.Get<void**>(2) = ofTarget[arguments.Get<GLenum>(0)];
            return Fake::Word{0};
        });
    }
    /// A new buffer of the driver's next memory, mapped, and bound to the target.
    char* Map(GLenum target, GLintptr offset, GLsizeiptr bytes, GLbitfield access)
    {
        GLuint buffer = 0;
        glGenBuffers(1, &buffer);
        glBindBuffer(target, buffer);
        ProcAddress<PFNGLBUFFERSTORAGEEXTPROC>("glBufferStorageEXT")(target, offset + bytes, nullptr, access);
        return static_cast<char*>(glMapBufferRange(target, offset, bytes, access));
    }

    Fake::Control* const control = reinterpret_cast<Fake::Control* (*)()>(dlsym(RTLD_DEFAULT, "fake_control"))();
    alignas(64) std::array<std::array<char, 1 << 20>, 2> mapped = {};
    std::map<GLenum, void*> ofTarget;
    std::size_t maps = 0;
};

void Say(const char* what, bool isSo)
{
    std::printf("%s: %s\n", what, isSo ? "yes" : "no");
}

CLIENT(WritesWithoutACall)
{
    static DriverMemory driver;
    const ClientContext current;
    char* const first = driver.Map(GL_UNIFORM_BUFFER, 256, 20000, Written);
    char* const second = driver.Map(GL_ARRAY_BUFFER, 0, 100, Written);
    driver.mapped[0][7] = 1;
    driver.control->Answer("glDrawArrays", [&](const Fake::Arguments&) {
        Say("driver has the changes", std::memcmp(driver.mapped[0].data(), first, 20000) == 0 &&
                                          std::memcmp(driver.mapped[1].data(), second, 100) == 0);
        return Fake::Word{0};
    });
    std::memset(first + 4000, 7, 8000); // not from page to page
    std::memset(first + 16000, 0, 100); // nothing new
    std::thread([second] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        second[99] = 9;
    }).join();
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    void* asked = nullptr;
    glGetBufferPointerv(GL_ARRAY_BUFFER, GL_BUFFER_MAP_POINTER, &asked);
    Say("the pointer is the same", asked == second);
    std::FILE* const file = std::tmpfile();
    std::fwrite("a file", 1, 6, file);
    std::rewind(file);
    const bool isRead = std::fread(first, 3, 2, file) == 2 && pread(fileno(file), second, 1, 0) == 1;
    glUnmapBuffer(GL_ARRAY_BUFFER);
    Say("a file is read into it", isRead && std::memcmp(first, "a file", 6) == 0 && driver.mapped[1][0] == 'a');
    return 0;
}

TEST_F(WatchedBuffersTest, WhatIsWrittenWithoutACallComesAheadOfTheCallThatUsesIt)
{
    EXPECT_EQ(Record("WritesWithoutACall").out, "driver has the changes: yes\ndriver has the changes: yes\n"
                                                "the pointer is the same: yes\na file is read into it: yes\n");
    std::vector<std::string> calls = After(After(Dump(), "glMapBufferRange"), "glMapBufferRange");
    EXPECT_THAT(calls,
                ElementsAre("glBindBuffer(target=GL_ARRAY_BUFFER, buffer=901)",
                            StartsWith("glBufferSubData(target=GL_ARRAY_BUFFER, offset=4224, size=8064, "),
                            "glBindBuffer(target=GL_ARRAY_BUFFER, buffer=902)",
                            StartsWith("glBufferSubData(target=GL_ARRAY_BUFFER, offset=64, size=36, "),
                            StartsWith("glDrawArrays"), StartsWith("glDrawArrays"), StartsWith("glGetBufferPointerv"),
                            StartsWith("glBufferSubData(target=GL_ARRAY_BUFFER, offset=0, size=64, "),
                            "-- data of mapped buffer GL_ARRAY_BUFFER at 0, 0 bytes",
                            "glUnmapBuffer(target=GL_ARRAY_BUFFER) = GL_TRUE"));
    EXPECT_THAT(Dump("glBufferStorageEXT", "capture.glcap")[0], testing::HasSubstr("| GL_DYNAMIC_STORAGE_BIT_EXT"));
}

CLIENT(CountsInAShader)
{
    static DriverMemory driver;
    const ClientContext current;
    auto* const counts =
        reinterpret_cast<int*>(driver.Map(GL_SHADER_STORAGE_BUFFER, 0, 8192, Written | GL_MAP_READ_BIT));
    auto* const ofDriver = reinterpret_cast<int*>(driver.mapped[0].data());
    GLint buffer = 0;
    glGetIntegerv(GL_SHADER_STORAGE_BUFFER_BINDING, &buffer);
    glBindBufferBase(GL_SHADER_STORAGE_BUFFER, 0, 901);
    driver.control->Answer("glDispatchCompute", [&](const Fake::Arguments&) {
        ofDriver[0] += 5;
        ofDriver[1500] += ofDriver[1];
        return Fake::Word{0};
    });
    for (int i = 1; i <= 3; ++i) {
        counts[0] = 0;
        counts[1] = i;
        glDispatchCompute(1, 1, 1);
        glFinish();
        std::printf("%d %d\n", counts[0], counts[1500]);
    }
    return 0;
}

// Each time the program starts from zero again, which the library cannot tell from what it wrote before.
TEST_F(WatchedBuffersTest, ProgramAndDriverShareAMappedBuffer)
{
    EXPECT_EQ(Record("CountsInAShader").out, "5 1\n5 3\n5 6\n");
    EXPECT_THAT(Dump("glBufferSubData", "capture.glcap"),
                ElementsAre(StartsWith("glBufferSubData(target=GL_ARRAY_BUFFER, offset=4, size=4, "),
                            StartsWith("glBufferSubData(target=GL_ARRAY_BUFFER, offset=0, size=8, "),
                            StartsWith("glBufferSubData(target=GL_ARRAY_BUFFER, offset=0, size=8, ")));
}

volatile std::sig_atomic_t faults = 0;
void* faulty = nullptr;

void CountFault(int)
{
    faults = faults + 1;
    mprotect(faulty, 1, PROT_READ | PROT_WRITE);
}

CLIENT(HandlesItsOwnFaults)
{
    static DriverMemory driver;
    const ClientContext current;
    faulty = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    std::signal(SIGSEGV, &CountFault);
    char* const memory = driver.Map(GL_ARRAY_BUFFER, 0, 100, Written);
    memory[0] = *static_cast<volatile char*>(faulty);
    std::printf("%d\n", static_cast<int>(faults));
    struct sigaction action = {};
    action.sa_handler = &CountFault;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    struct sigaction before = {};
    sigaction(SIGSEGV, &action, &before);
    Say("its own handler was there", before.sa_handler == &CountFault);
    glFlush();
    mprotect(faulty, 1, PROT_NONE);
    *static_cast<volatile char*>(faulty) = 1;
    std::printf("%d\n", static_cast<int>(faults));
    std::fflush(stdout);
    mprotect(faulty, 1, PROT_NONE);
    *static_cast<volatile char*>(faulty) = 1;
    std::printf("the fault without a handler ended nothing\n");
    return 0;
}

TEST_F(WatchedBuffersTest, FaultsOfTheProgramsOwnAreItsOwn)
{
    EXPECT_EQ(Record("HandlesItsOwnFaults").out, "1\nits own handler was there: yes\n2\n");
}

} // namespace
} // namespace Recorder
