#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/Records/CallStacks.h"
#include "Data/Records/RecordWalk.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::HasSubstr;

class CallStacksTest : public CaptureTest {
protected:
    /// A record with `room` bytes after the struct.
    template <class Record> void Add(RecordId id, Record record, std::uint32_t room)
    {
        std::uint8_t* const at = writer->Begin(static_cast<std::uint32_t>(id), sizeof record + room);
        ASSERT_NE(at, nullptr);
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        writer->End();
    }
    /// Room after the struct of a record.
    template <class Record> static PointerSlot After(std::uint32_t bytes) { return {0, bytes, sizeof(Record)}; }

    struct Case {
        const char* what;
        std::function<void()> write;
        const char* message;
    };
};

TEST_F(CallStacksTest, RefusesWhatMakesNoSense)
{
    const auto module = [&](std::uint32_t number, PointerSlot buildId, PointerSlot path) {
        Add(RecordId::Module, ModuleRecord{{}, number, 0, 0, 0, 0, buildId, path}, 128);
    };
    const PointerSlot some = After<ModuleRecord>(8);
    const std::vector<Case> cases = {
        {"a module without number", [&] { module(0, some, some); }, "module: number: expected from 1 to 4096, found 0"},
        {"a number beyond", [&] { module(MaxModules + 1, some, some); }, "module: number"},
        {"a long build-id", [&] { module(1, After<ModuleRecord>(65), some); }, "module: path and build-id: expected"},
        {"a path that leaves the record", [&] { module(1, some, After<ModuleRecord>(136)); }, "136 bytes"},
        {"a stack without number", [&] { writer->Stack(0, {}); }, "stack: number"},
        {"a stack in a module that is not there",
         [&] {
             writer->Stack(1, std::vector{StackFrame{1, 7, 0}});
         },
         "stack: module: expected one that the capture has, found 7"},
        {"a deep stack", [&] { writer->Stack(1, std::vector<StackFrame>(MaxStackFrames + 1)); },
         "stack: frames: expected at most 128"},
        {"a half frame",
         [&] {
             Add(RecordId::Stack, StackRecord{{}, 1, 0, After<StackRecord>(24)}, 24);
         },
         "stack: frames"},
        {"a stack that is not there", [] {}, "call's stack: stack: expected one that the capture has, found 1"},
    };
    for (const Case& hostile : cases) {
        SCOPED_TRACE(hostile.what);
        std::string said;
        writer = CaptureWriter::Create(path, header, said);
        hostile.write();
        writer->CallStack(1);
        Finish();
        Diagnostics diagnostics(path, [&](const std::string& line) { said += line; });
        CallStacks stacks(diagnostics);
        WalkRecords(*CaptureSource::Open(path, said), diagnostics,
                    [&](const RecordView& record) { EXPECT_TRUE(stacks.Take(record) || stacks.StackOf(record) == 0); });
        EXPECT_THAT(said, HasSubstr(hostile.message));
    }
}

} // namespace

} // namespace Data
