// Families of features of OpenGL ES and EGL. Each is a program of its own, which draws FrameCount frames on the stage
// with the features of one family, in the way applications use them, and the same pixels in every run.
#pragma once

#include <string>

#include "Drawing.h"
#include "Shaders.h"
#include "Stage.h"

constexpr int FrameCount = 8;

/// One that can be chosen by its name.
struct Family {
    Family(const std::string& name, void (*draw)(Stage& stage));
};

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a parameter cannot have them.
/// Defines a family: FAMILY("buffer-maps", stage) { draws on the stage }. One for each file.
#define FAMILY(name, stage)                                                                                            \
    static void Draw(Stage& stage);                                                                                    \
    static const Family family(name, Draw);                                                                            \
    static void Draw(Stage& stage)
// NOLINTEND(bugprone-macro-parentheses)

/// Sets the viewport to one of the four quarters of the picture.
void Quarter(int index);
/// Ends the program when a call failed.
void ExpectNoErrors(const char* where);
/// Shows the frame, which is to have had no errors.
void EndFrame(Stage& stage);
