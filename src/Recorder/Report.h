// What a recorded process tells playback-record while it runs, so that it can explain what came of the recording.
//
// A line "PID WHAT DETAIL" each, appended to a file in memory that playback-record keeps open, and to which a link
// leads from the folder of the captures: a process that crashes has told what it saw, and a full disk is told too.
#pragma once

#include <string_view>

namespace Recorder {

/// The name by which the file is recognised as playback-record's.
inline constexpr char ReportFileName[] = "playback-record";

/// What can be told, as it stands in the lines.
namespace Finding {
/// The library is in a process; its program's name.
inline constexpr char Program[] = "program";
/// A library by which a program may draw is loaded; its file's name.
inline constexpr char Library[] = "library";
/// It called EGL.
inline constexpr char Egl[] = "egl";
/// It made a context of desktop OpenGL through EGL, or asked for one where they are hidden.
inline constexpr char DesktopContext[] = "desktop-context";
/// It called functions by which contexts of GLX are made, or looked them up; or those of instances of Vulkan.
inline constexpr char Glx[] = "glx";
inline constexpr char Vulkan[] = "vulkan";
/// Its capture could not be written whole; why.
inline constexpr char Unwritten[] = "unwritten";
/// Told by the process that writes, of captures that are cut out: a file that has its name; which frames the one
/// without it has; why there is none; how many frames there were to cut out of.
inline constexpr char Part[] = "part";
inline constexpr char Cut[] = "cut";
inline constexpr char Uncut[] = "uncut";
inline constexpr char Frames[] = "frames";
} // namespace Finding

/// Tells one thing. Keeps errno.
void Report(const char* what, std::string_view detail) noexcept;

/// Tells which libraries are loaded by which programs may draw.
void ReportLibraries() noexcept;

/// Each tells of a way of drawing, once.
void ReportDesktopContext() noexcept;
void ReportGlx() noexcept;

/// Tells of a look-up by name where that gives away another way of drawing.
void ReportLookup(const char* name) noexcept;

} // namespace Recorder
