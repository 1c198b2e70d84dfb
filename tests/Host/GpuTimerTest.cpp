// Times of the GPU, on a driver whose clock and draws the test makes.
#include "Host/Timing/GpuTimer.h"

#include <GLES2/gl2ext.h>
#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"
#include "Playback/Calls/GLPlaybackAdapter.h"
#include "Replay/Driver/DriverState.h"
#include "support/TestCapture.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

namespace Host {
namespace {

constexpr std::uint64_t Ms = 1'000'000;
constexpr double NoTime = -1;

/// A clear takes 2 ms there, and a draw 5.
class GpuTimerTest : public Data::CaptureTest {
protected:
    GpuTimerTest()
    {
        driver.Load();
        driverState = std::make_unique<Replay::DriverState>();
        table.SetCurrentContext(1, 1, 1, 1);
        Core::KHRLayer::EGLProc().eglMakeCurrent(Fake::FromWord<EGLDisplay>(1), Fake::FromWord<EGLSurface>(2),
                                                 Fake::FromWord<EGLSurface>(2), Fake::FromWord<EGLContext>(3));
        Takes("glClear", 2);
        Takes("glDrawArrays", 5);
        driver.Answer("glGetQueryivEXT", [this](const Fake::Arguments& a) {
            const bool isTimestamp = a.Get<GLenum>(0) == GL_TIMESTAMP_EXT;
            *a.Get<GLint*>(2) = a.Get<GLenum>(1) == GL_CURRENT_QUERY_EXT ? static_cast<GLint>(current)
                                : isTimestamp                            ? timestampBits
                                                                         : 64;
            return Fake::Word{0};
        });
        driver.Answer("glQueryCounterEXT", [this](const Fake::Arguments& a) {
            results[a.Get<GLuint>(0)] = now & ((std::uint64_t{1} << timestampBits) - 1);
            return Fake::Word{0};
        });
        driver.Answer("glBeginQueryEXT", [this](const Fake::Arguments& a) {
            EXPECT_EQ(current, 0u) << "two at a time";
            results[current = a.Get<GLuint>(1)] = now;
            return Fake::Word{0};
        });
        driver.Answer("glEndQueryEXT", [this](const Fake::Arguments&) {
            results[current] = now - results[current];
            current = 0;
            return Fake::Word{0};
        });
        driver.Answer("glGetQueryObjectuivEXT", [this](const Fake::Arguments& a) {
            *a.Get<GLuint*>(2) = isDrawn;
            return Fake::Word{0};
        });
        driver.Answer("glGetQueryObjectui64vEXT", [this](const Fake::Arguments& a) {
            *a.Get<GLuint64*>(2) = results.at(a.Get<GLuint>(0));
            return Fake::Word{0};
        });
        driver.Answer("glGetIntegerv", [this](const Fake::Arguments& a) {
            *a.Get<GLint*>(1) = a.Get<GLenum>(0) == GL_GPU_DISJOINT_EXT && std::exchange(isDisjoint, false);
            return Fake::Word{0};
        });
    }

    void Takes(const char* call, std::uint64_t ms)
    {
        driver.Answer(
            call,
            [this, ms](const Fake::Arguments&) {
                now += ms * Ms;
                return Fake::Word{0};
            });
    }
    void Clear() { Call(Data::CallId::glClear, GL_COLOR_BUFFER_BIT); }
    void Draw() { Call(Data::CallId::glDrawArrays, GL_TRIANGLES, 0, 3); }
    void Bind(GLenum target, std::uint32_t framebuffer) { Call(Data::CallId::glBindFramebuffer, target, framebuffer); }
    void EndFrame() { writer->FrameEnd(); }

    /// `afterFrame` is called with the number of each.
    GpuTimes Measure(GpuSpans by, const std::function<void(std::uint32_t)>& afterFrame = {},
                     const std::string& counters = {})
    {
        GpuTimes times{by, {}, {}, {}};
        Telling telling;
        GpuTimer timer(times, telling, counters);
        const auto capture = Open();
        Playback::GLPlaybackAdapter adapter(&table);
        Core::KHRLayer::LoadGLESExt();
        capture->SetAdapter(&adapter);
        timer.Attach(*capture);
        driver.ClearLog();
        bool isWhole = true;
        while (isWhole) {
            const std::uint32_t frame = capture->GetCurrentFrame() + 1;
            timer.BeginFrame(1, frame, true);
            capture->GetFrameProcessor()->ProcessNextFrame();
            isWhole = capture->GetCurrentFrame() == frame;
            timer.EndFrame(isWhole);
            published.push_back(times.costs.size());
            if (afterFrame && isWhole)
                afterFrame(frame);
        }
        timer.Drain();
        Replay::DriverState::SetListener(nullptr);
        return times;
    }
    static std::vector<double> Milliseconds(const std::vector<GpuCost>& costs)
    {
        std::vector<double> all;
        for (const GpuCost& cost : costs)
            all.push_back(cost.notMeasured == NotMeasured::No ? cost.gpuMs : NoTime);
        return all;
    }

    FakeDriver driver;
    std::unique_ptr<Replay::DriverState> driverState;
    Playback::GLResourceTable table;
    std::uint64_t now = 77 * Ms;
    GLint timestampBits = 36;
    /// The query of elapsed time that is active.
    GLuint current = 0;
    std::map<GLuint, std::uint64_t> results;
    bool isDrawn = true;
    bool isDisjoint = false;
    /// Costs that were known after each frame.
    std::vector<std::size_t> published;
};

TEST_F(GpuTimerTest, FramesPassesAndDrawsAddUp)
{
    for (int i = 0; i < 2; ++i) {
        Clear();
        Draw();
        Bind(GL_FRAMEBUFFER, 7);
        Draw();
        Bind(GL_READ_FRAMEBUFFER, 0);
        Draw();
        Bind(GL_DRAW_FRAMEBUFFER, 9);
        // Nothing is drawn to it, so the pass goes on.
        Bind(GL_DRAW_FRAMEBUFFER, 7);
        Clear();
        Bind(GL_FRAMEBUFFER, 0);
        Draw();
        EndFrame();
    }
    Draw(); // in no frame
    // The clock begins anew in the middle.
    now = (std::uint64_t{1} << 36) - 20 * Ms;
    EXPECT_THAT(Milliseconds(Measure(GpuSpans::Frames).costs), ElementsAre(24, 24));
    const GpuTimes passes = Measure(GpuSpans::RenderPasses);
    EXPECT_THAT(Milliseconds(passes.costs), ElementsAre(7, 12, 5, 7, 12, 5));
    EXPECT_EQ(passes.costs[1].framebuffer, 7u);
    EXPECT_EQ(passes.costs[1].actions, 3u);
    EXPECT_EQ(passes.costs[1].call, 4u);
    EXPECT_THAT(driver.Log(), Not(Contains(StartsWith("glFinish"))));
    const GpuTimes draws = Measure(GpuSpans::Actions);
    EXPECT_THAT(Milliseconds(draws.costs), ElementsAre(2, 5, 5, 5, 2, 5, 2, 5, 5, 5, 2, 5));
    EXPECT_EQ(draws.costs[0].number.Text(), "0.1");
    EXPECT_EQ(draws.costs[4].number.Text(), "3.1");
    EXPECT_EQ(draws.costs[11].number.Text(), "4");
    EXPECT_THAT(Milliseconds(draws.RenderPasses()), ElementsAre(7, 12, 5, 7, 12, 5));
    EXPECT_EQ(draws.Frames().at({1, 2}), 24.0);
}

TEST_F(GpuTimerTest, NobodyWaitsForResults)
{
    for (int i = 0; i < 4; ++i) {
        Draw();
        EndFrame();
    }
    isDrawn = false;
    const GpuTimes times = Measure(GpuSpans::Frames, [this](std::uint32_t frame) {
        EXPECT_THAT(frame < 3 ? driver.Log() : std::vector<std::string>(),
                    Not(Contains(StartsWith("glGetQueryObjectui64vEXT"))));
        isDrawn = frame == 3;
    });
    EXPECT_THAT(Milliseconds(times.costs), ElementsAre(5, 5, 5, 5));
    EXPECT_THAT(published, ElementsAre(0, 0, 0, 4, 4));
}

TEST_F(GpuTimerTest, DisjointTimesAreDropped)
{
    for (int i = 0; i < 3; ++i) {
        Draw();
        EndFrame();
    }
    EXPECT_THAT(Milliseconds(Measure(GpuSpans::Frames, [this](std::uint32_t frame) { isDisjoint = frame == 1; }).costs),
                ElementsAre(5, NoTime, 5));
}

TEST_F(GpuTimerTest, AProgramThatAsksForItTakesNoDisjointTimeAway)
{
    Draw();
    Call(Data::CallId::glGetIntegerv, GL_GPU_DISJOINT_EXT, std::vector<GLint>{0});
    EndFrame();
    Draw();
    EndFrame();
    isDrawn = false;
    const GpuTimes times = Measure(GpuSpans::Frames, [this](std::uint32_t frame) { isDrawn = frame == 2; });
    EXPECT_THAT(Milliseconds(times.costs), ElementsAre(5, 5));
    isDisjoint = false;
    driver.Answer("glDrawArrays", [this](const Fake::Arguments&) {
        isDisjoint = results.size() < 2;
        return Fake::Word{0};
    });
    results.clear();
    EXPECT_EQ(Measure(GpuSpans::Frames).costs[0].notMeasured, NotMeasured::Disjoint);
}

TEST_F(GpuTimerTest, WithoutTheExtensionTheReplayGoesOn)
{
    driver->Set("EXTENSIONS", "GL_OES_rgb8_rgba8");
    Draw();
    EndFrame();
    testing::internal::CaptureStderr();
    const GpuTimes times = Measure(GpuSpans::Actions);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("GL_EXT_disjoint_timer_query"));
    EXPECT_EQ(times.unavailable, "the driver has no GL_EXT_disjoint_timer_query");
    EXPECT_EQ(times.costs.at(0).notMeasured, NotMeasured::NoClock);
    EXPECT_THAT(driver.Log(), Contains(StartsWith("glDrawArrays")));
    EXPECT_THAT(driver.Log(), Not(Contains(testing::AnyOf(StartsWith("glFlush"), StartsWith("glFinish")))));
}

TEST_F(GpuTimerTest, QueriesOfTheProgramComeFirst)
{
    const auto ownQuery = [&] {
        Call(Data::CallId::glBeginQueryEXT, GL_TIME_ELAPSED_EXT, 5);
        Draw();
        Call(Data::CallId::glEndQueryEXT, GL_TIME_ELAPSED_EXT);
    };
    Call(Data::CallId::glGenQueriesEXT, 1, std::vector<std::uint32_t>{5});
    Draw();
    EndFrame();
    Draw();
    ownQuery();
    EndFrame();
    ownQuery();
    EndFrame();
    // Timestamps go with them.
    EXPECT_THAT(Milliseconds(Measure(GpuSpans::Frames).costs), ElementsAre(5, 10, 5));
    timestampBits = 0;
    EXPECT_THAT(Milliseconds(Measure(GpuSpans::Frames).costs), ElementsAre(5, NoTime, NoTime));
    EXPECT_THAT(Milliseconds(Measure(GpuSpans::Actions).costs), ElementsAre(5, 5, NoTime, NoTime));
}

/// Two groups with a counter for draws and one that is busy; the third is more than the driver counts at a time.
class GpuCountersTest : public GpuTimerTest {
protected:
    static Fake::Word Write(const Fake::Arguments& a, std::size_t at, const std::vector<GLuint>& values)
    {
        if (a.Get<GLint*>(at))
            *a.Get<GLint*>(at) = static_cast<GLint>(values.size());
        return 0;
    }
    static Fake::Word Name(const Fake::Arguments& a, std::size_t at, const std::string& name)
    {
        if (a.Get<GLsizei*>(at + 1))
            *a.Get<GLsizei*>(at + 1) = static_cast<GLsizei>(name.size());
        if (a.Get<char*>(at + 2))
            name.copy(a.Get<char*>(at + 2), static_cast<std::size_t>(a.Get<GLsizei>(at)));
        return 0;
    }
    GpuCountersTest()
    {
        driver.Answer("glGetPerfMonitorGroupsAMD", [](const Fake::Arguments& a) {
            for (GLuint i = 0; i < 2 && static_cast<GLsizei>(i) < a.Get<GLsizei>(1); ++i)
                a.Get<GLuint*>(2)[i] = 40 + i;
            return Write(a, 0, {40, 41});
        });
        driver.Answer(
            "glGetPerfMonitorCountersAMD",
            [](const Fake::Arguments& a) {
                *a.Get<GLint*>(2) = 1;
                for (GLuint i = 0; i < 2 && static_cast<GLsizei>(i) < a.Get<GLsizei>(3); ++i)
                    a.Get<GLuint*>(4)[i] = 7 + i;
                return Write(a, 1, {7, 8});
            });
        driver.Answer(
            "glGetPerfMonitorGroupStringAMD",
            [](const Fake::Arguments& a) { return Name(a, 1, a.Get<GLuint>(0) == 40 ? "front" : "back"); });
        driver.Answer("glGetPerfMonitorCounterStringAMD",
                      [](const Fake::Arguments& a) { return Name(a, 2, a.Get<GLuint>(1) == 7 ? "draws" : "busy"); });
        driver.Answer("glGetPerfMonitorCounterInfoAMD", [](const Fake::Arguments& a) {
            *a.Get<GLenum*>(3) = a.Get<GLuint>(0) == 40 ? GL_UNSIGNED_INT64_AMD : GL_FLOAT;
            return Fake::Word{0};
        });
        driver.Answer("glGetPerfMonitorCounterDataAMD", [](const Fake::Arguments& a) {
            const float busy = 0.5F;
            // 64 bits take two words.
            const GLuint result[] = {41, 7, std::bit_cast<GLuint>(busy), 40, 7, 3, 1};
            const GLenum what = a.Get<GLenum>(1);
            if (what == GL_PERFMON_RESULT_AMD)
                std::memcpy(a.Get<void*>(3), result, static_cast<std::size_t>(a.Get<GLsizei>(2)));
            else
                *a.Get<GLuint*>(3) = what == GL_PERFMON_RESULT_SIZE_AMD ? sizeof result : 1;
            *a.Get<GLint*>(4) = what == GL_PERFMON_RESULT_AMD ? a.Get<GLsizei>(2) : 4;
            return Fake::Word{0};
        });
    }
};

TEST_F(GpuCountersTest, CountersAreReadByName)
{
    Draw();
    Clear();
    EndFrame();
    const GpuTimes times = Measure(GpuSpans::Actions, {}, "*:draws,front:busy");
    EXPECT_THAT(times.counters, ElementsAre("front:draws", "back:draws"));
    EXPECT_THAT(times.costs.at(1).counters, ElementsAre(3.0 + 4294967296.0, 0.5));
    EXPECT_THAT(times.RenderPasses().at(0).counters, ElementsAre(6.0 + 2 * 4294967296.0, 1.0));
    testing::internal::CaptureStderr();
    EXPECT_THAT(Measure(GpuSpans::Frames, {}, "front:waits").counters, testing::IsEmpty());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("no counter of the driver matches"));
}

TEST_F(GpuTimerTest, TimesOfContextsThatEndAreReadBefore)
{
    Draw();
    EndFrame();
    isDrawn = false;
    const auto& egl = Core::KHRLayer::EGLProc();
    EGLDisplay const display = egl.eglGetCurrentDisplay();
    const GpuTimes times = Measure(GpuSpans::Frames, [&](std::uint32_t) {
        egl.eglMakeCurrent(display, Fake::FromWord<EGLSurface>(2), Fake::FromWord<EGLSurface>(2),
                           Fake::FromWord<EGLContext>(4));
        driver.ClearLog();
        egl.eglDestroyContext(display, Fake::FromWord<EGLContext>(3));
    });
    EXPECT_THAT(Milliseconds(times.costs), ElementsAre(5));
    EXPECT_EQ(Fake::ToWord(egl.eglGetCurrentContext()), 4u);
}

} // namespace
} // namespace Host
