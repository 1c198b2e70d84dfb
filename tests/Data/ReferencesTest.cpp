#include "Data/Records/References.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/Capture/SummaryReader.h"
#include "Data/Records/RecordWalk.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ReferencesTest : public CaptureTest, public ReferenceHandler {
protected:
    void ProcessReferenceHash(const ReferenceHashRecord& hash, const ReferencePlace& place) override
    {
        lines.push_back(std::to_string(hash.hash) + " by " + std::to_string(hash.driver) + ", frame " +
                        std::to_string(place.frame) +
                        (place.action ? std::string(", ") + NameOf(place.kind) + " " + place.action->Text() +
                                            ", call " + std::to_string(place.call) + " " + place.function
                                      : ""));
    }
    void Hash(std::uint64_t hash, std::uint32_t driver, ReferenceOf of = ReferenceOf::Action,
              PictureState state = PictureState::Hashed)
    {
        writer->PutReferenceHash({{}, driver, of, 0, 0, 4, 2, hash, state, 0});
    }
    template <class Record> void Add(RecordId id, Record record, std::uint32_t room)
    {
        std::uint8_t* const at = writer->Begin(static_cast<std::uint32_t>(id), sizeof record + room);
        ASSERT_NE(at, nullptr);
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        writer->End();
    }
    std::vector<std::string> Replay()
    {
        GLNullAdapter gl;
        const std::unique_ptr<CaptureFile> capture = Open();
        capture->SetAdapter(&gl);
        capture->SetReferenceHandler(this);
        ReplayAll(*capture);
        drivers = capture->References().Drivers();
        own = capture->References().Choose({"second", "2"});
        other = capture->References().Choose({"second", "1"});
        return lines;
    }

    std::vector<std::string> lines;
    std::map<std::uint32_t, DriverName> drivers;
    std::uint32_t own = 0;
    std::uint32_t other = 0;
};

TEST_F(ReferencesTest, HashesComeWithTheActionInFrontAndItsNumber)
{
    writer->ReferenceDriver(1, "first", "1");
    writer->ReferenceDriver(2, "second", "2");
    writer->ReferenceDriver(2, "again", "3");
    for (const std::uint64_t frame : {100, 200}) {
        Call(CallId::glClear, 0x4000);
        Hash(frame + 1, 0);
        Hash(frame + 2, 2);
        Call(CallId::glFlush);
        Call(CallId::glDrawArrays, 4, 0, 3);
        Hash(frame + 3, 0);
        Hash(frame + 4, 1, ReferenceOf::Frame);
        writer->FrameEnd();
    }
    EXPECT_THAT(Replay(), ElementsAre("101 by 0, frame 1, clear 0.1, call 1 glClear",
                                      "102 by 2, frame 1, clear 0.1, call 1 glClear",
                                      "103 by 0, frame 1, draw 1, call 3 glDrawArrays", "104 by 1, frame 1",
                                      "201 by 0, frame 2, clear 0.1, call 1 glClear",
                                      "202 by 2, frame 2, clear 0.1, call 1 glClear",
                                      "203 by 0, frame 2, draw 1, call 3 glDrawArrays", "204 by 1, frame 2"));
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_EQ(drivers.at(2), (DriverName{"second", "2"})) << "a number means what it meant first";
    EXPECT_EQ(own, 2u);
    EXPECT_EQ(other, 0u) << "another version is another driver";
}

TEST_F(ReferencesTest, TheSummaryCountsThemByDriver)
{
    writer->ReferenceDriver(1, "first", "1.0");
    Call(CallId::glClear, 0x4000);
    Hash(1, 0), Hash(1, 1), Hash(2, 1, ReferenceOf::Frame), Hash(3, 9);
    const std::vector<std::uint8_t> png(20, 1);
    writer->ReferencePicture({{}, 1, 0, 3, 0, {}}, png);
    writer->FrameEnd();
    Finish();
    std::string trouble;
    const auto counts = ReadSummary(*CaptureSource::Open(path, trouble), trouble);
    ASSERT_TRUE(counts) << trouble;
    ASSERT_EQ(counts->references.size(), 2u);
    EXPECT_EQ(counts->references.at(0).actions, 1u);
    const ReferenceSummary& first = counts->references.at(1);
    EXPECT_EQ(first.renderer + first.version, "first1.0");
    EXPECT_THAT((std::vector<std::uint64_t>{first.frames, first.actions, first.pictures}), ElementsAre(1, 1, 1));
    EXPECT_EQ(counts->frameHashes, 0u) << "these are the recording's";
}

TEST_F(ReferencesTest, RefusesWhatMakesNoSense)
{
    struct Case {
        const char* what;
        std::function<void()> write;
        const char* message;
    };
    const auto driver = [&](std::uint32_t number, PointerSlot text) {
        Add(RecordId::ReferenceDriver, ReferenceDriverRecord{{}, number, 0, text, text}, 1024);
    };
    const auto picture = [&](std::uint32_t number, std::uint32_t bytes) {
        Add(RecordId::ReferencePicture,
            ReferencePictureRecord{{}, number, 0, 0, 0, {0, bytes, sizeof(ReferencePictureRecord)}}, 64);
    };
    const PointerSlot some = {0, 8, sizeof(ReferenceDriverRecord)};
    const std::vector<Case> cases = {
        {"the recording's number", [&] { driver(0, some); }, "reference driver: number and names: expected a number"},
        {"a number beyond", [&] { driver(MaxReferenceDrivers + 1, some); }, "found 65"},
        {"a long name",
         [&] {
             driver(1, {0, 513, some.offset});
         },
         "found 1, 513 bytes"},
        {"a name that leaves the record",
         [&] {
             driver(1, {0, 8, 0x10000});
         },
         "found 1, 8 bytes"},
        {"a driver that is not there", [&] { Hash(1, 7); },
         "reference hash: driver: expected one that the capture has"},
        {"another kind", [&] { Hash(1, 0, static_cast<ReferenceOf>(3)); }, "kind and state: expected 1 or 2"},
        {"another state", [&] { Hash(1, 0, ReferenceOf::Action, PictureState::NotHashed); }, "found 1 and 0"},
        {"no action in front",
         [&] {
             Call(CallId::glFlush);
             Hash(1, 0);
         },
         "the call in front: expected one that draws, found glFlush"},
        {"nothing in front", [&] { Hash(1, 0); }, "expected one that draws, found none"},
        {"a picture that leaves the record", [&] { picture(0, 1000); }, "reference picture: contents"},
        {"a picture of nobody", [&] { picture(3, 8); }, "reference picture: driver"},
    };
    for (const Case& hostile : cases) {
        SCOPED_TRACE(hostile.what);
        std::string said;
        writer = CaptureWriter::Create(path, header, said);
        hostile.write();
        writer->FrameEnd();
        reports.clear();
        lines.clear();
        Replay();
        EXPECT_THAT(lines, IsEmpty());
        // Replay does not look at pictures.
        Diagnostics diagnostics(path, [&](const std::string& line) { reports.push_back(line); });
        References references(diagnostics);
        WalkRecords(*CaptureSource::Open(path, said), diagnostics, [&](const RecordView& record) {
            references.Take(record);
            EXPECT_FALSE(references.PictureOf(record));
        });
        EXPECT_THAT(reports, testing::Contains(HasSubstr(hostile.message)));
    }
}

} // namespace

} // namespace Data
