#include <EGL/egl.h>
#include <gmock/gmock.h>

#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::Pointee;
using testing::UnorderedElementsAre;

using Table = GLResourceTable;

/// Something that is never looked into.
template <class T = void> T* Handle(std::uintptr_t value)
{
    return reinterpret_cast<T*>(value);
}

/// Display 1 is known and selected.
class EGLHandlesTest : public testing::Test {
protected:
    EGLHandlesTest()
    {
        table.AddIdEGLDisplay(1, Handle(0x1000));
        table.GetValueEGLDisplay(1);
    }

    LogCapture log;
    Table table;
};

TEST_F(EGLHandlesTest, KindsAreKeptApart)
{
    table.AddIdEGLConfig(3, Handle(0x31));
    table.AddIdEGLContext(3, Handle(0x32));
    table.AddIdEGLImage(3, Handle(0x33));
    table.AddIdEGLSync(3, Handle(0x34));
    table.AddIdEGLVoidPtr(3, Handle(0x35));
    table.AddIdEGLSurface(3, Handle<EGLProxySurface>(0x36));
    EXPECT_EQ(table.GetValueEGLConfig(3), Handle(0x31));
    EXPECT_EQ(table.GetValueEGLContext(3), Handle(0x32));
    EXPECT_EQ(table.GetValueEGLImage(3), Handle(0x33));
    EXPECT_EQ(table.GetValueEGLSync(3), Handle(0x34));
    EXPECT_EQ(table.GetValueEGLVoidPtr(3), Handle(0x35));
    EXPECT_EQ(table.GetValueEGLSurface(3), Handle<EGLProxySurface>(0x36));
}

TEST_F(EGLHandlesTest, NoHandleIsKeptForNullOrAnInvalidNumberAndALaterOneReplaces)
{
    table.AddIdEGLSync(4, nullptr);
    table.AddIdEGLSync(0, Handle(0x30));
    table.AddIdEGLSync(3, Handle(0x30));
    EXPECT_EQ(table.GetValueEGLSync(0), nullptr);
    EXPECT_THAT(log.Take(), IsEmpty());
    table.AddIdEGLSync(3, Handle(0x31));
    EXPECT_EQ(table.GetValueEGLSync(3), Handle(0x31));
    EXPECT_EQ(table.GetValueEGLSurface(4), nullptr);
    EXPECT_EQ(table.GetValueEGLSurface(0xFFFFFFFF), nullptr);
    table.RemoveIdEGLSync(3);
    table.RemoveIdEGLSync(3);
    EXPECT_THAT(log.Take(),
                ElementsAre("EGL resource table overwriting existing EGLSync ID 3.",
                            "Attempting to retrieve the value for EGLProxySurface* ID 4 that was not found in the EGL "
                            "resource table.",
                            "Ignoring value retrieval from the EGL surface table for invalid EGLProxySurface* ID -1.",
                            "Attempting to remove EGLSync ID 3 that was not found in the EGL resource table."));
}

TEST_F(EGLHandlesTest, LookupsFollowTheDisplayTranslatedLast)
{
    table.AddIdEGLDisplay(2, Handle(0x2000));
    table.AddIdEGLConfig(5, Handle(0x51));
    EXPECT_EQ(table.GetValueEGLDisplay(2), Handle(0x2000));
    table.AddIdEGLConfig(5, Handle(0x52));
    EXPECT_EQ(table.GetValueEGLConfig(5), Handle(0x52));
    table.GetValueEGLDisplay(1);
    EXPECT_EQ(table.GetValueEGLConfig(5), Handle(0x51));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(EGLHandlesTest, ADisplayThatIsNotKnownIsSelectedAllTheSame)
{
    EXPECT_EQ(table.GetValueEGLDisplay(0), nullptr);
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(table.GetValueEGLConfig(5), nullptr);
    EXPECT_THAT(log.Take(), ElementsAre("Failed to retrieve EGL resource for EGLDisplay id 0"));

    EXPECT_EQ(table.GetValueEGLDisplay(7), nullptr);
    table.AddIdEGLConfig(5, Handle(0x50));
    EXPECT_EQ(table.GetValueEGLDisplay(0xFFFFFFFF), nullptr);
    EXPECT_EQ(table.GetDisplayResource(0), nullptr);
    EXPECT_THAT(log.Take(),
                ElementsAre("Attempting to retrieve the value for EGLDisplay ID 7 that was not found in the EGL "
                            "resource table.",
                            "Failed to retrieve EGL resource for EGLDisplay id 7",
                            "Ignoring value retrieval from the EGL resource table for invalid EGLDisplay ID -1."));
}

TEST_F(EGLHandlesTest, ADisplayKeepsItsHandlesWhenItsLiveDisplayChanges)
{
    table.AddIdEGLContext(3, Handle(0x30));
    table.AddIdEGLDisplay(1, Handle(0x1000));
    table.AddIdEGLDisplay(1, nullptr);
    table.AddIdEGLDisplay(1, Handle(0x1001));
    EXPECT_EQ(table.GetValueEGLDisplay(1), Handle(0x1001));
    EXPECT_EQ(table.GetValueEGLContext(3), Handle(0x30));
    EXPECT_THAT(log.Take(),
                ElementsAre("EGL resource table rejected a mapping from valid EGLDisplay ID 1 to a nullptr.",
                            "EGL resource table overwriting existing EGLDisplay ID 1."));
    table.RemoveIdEGLDisplay(1);
    table.RemoveIdEGLDisplay(1);
    table.RemoveIdEGLDisplay(0);
    EXPECT_THAT(log.Take(),
                ElementsAre("Attempting to remove EGLDisplay ID 1 that was not found in the EGL resource table.",
                            "Ignoring removal request for invalid EGLDisplay ID 0 from the EGL resource table."));
    EXPECT_EQ(table.GetDisplayResource(1), nullptr);
}

TEST_F(EGLHandlesTest, TheFirstValueOfAnAttributeStays)
{
    const int first[] = {EGL_RED_SIZE, 8, EGL_NONE};
    const int second[] = {EGL_RED_SIZE, 5, EGL_BLUE_SIZE, 6, EGL_NONE, 1, 1};
    const int empty[] = {EGL_NONE};
    EXPECT_EQ(table.GetEGLConfigAttribs(7), nullptr);
    table.AddEGLConfigAttribs(7, first);
    table.AddEGLConfigAttribs(7, first);
    EXPECT_THAT(log.Take(), IsEmpty());
    table.AddEGLConfigAttribs(7, second);
    table.AddEGLSurfaceAttribs(7, second);
    table.AddEGLSurfaceAttribs(7, first);
    EXPECT_THAT(table.GetEGLConfigAttribs(7),
                Pointee(UnorderedElementsAre(Pair(EGL_RED_SIZE, 8), Pair(EGL_BLUE_SIZE, 6))));
    EXPECT_THAT(table.GetEGLSurfaceAttribs(7),
                Pointee(UnorderedElementsAre(Pair(EGL_RED_SIZE, 5), Pair(EGL_BLUE_SIZE, 6))));
    EXPECT_THAT(log.Take(), ElementsAre("Overwriting existing EGLConfig 7 attribute 12324: 5",
                                        "Overwriting existing EGLSurface 7 attribute 12324: 8"));
    table.AddEGLConfigAttribs(8, empty);
    EXPECT_THAT(table.GetEGLConfigAttribs(8), Pointee(IsEmpty()));
    table.AddEGLConfigAttribs(0, first);
    table.AddEGLSurfaceAttribs(9, nullptr);
    EXPECT_THAT(log.Take(), ElementsAre("Ignoring metadata attributes for EGLConfig 0 due to invalid ID or no data",
                                        "Ignoring metadata attributes for EGLSurface 9 due to invalid ID or no data"));
}

} // namespace
} // namespace Playback
