// Families of features of OpenGL ES and EGL. Each function is a program of its own, which draws FrameCount frames on
// the stage with the features of one family, in the way applications use them, and the same pixels in every run.
#pragma once

#include "Stage.h"

constexpr int FrameCount = 8;

void BufferMaps(Stage& stage);
void ClientArrays(Stage& stage);
void Compute(Stage& stage);
void DebugLabels(Stage& stage);
void Headless(Stage& stage);
void Images(Stage& stage);
void MadeUpNames(Stage& stage);
void Multisample(Stage& stage);
void PersistentMaps(Stage& stage);
void Pipelines(Stage& stage);
void PixelBuffers(Stage& stage);
void ProgramBinaries(Stage& stage);
void Queries(Stage& stage);
void Robustness(Stage& stage);
void Samplers(Stage& stage);
void SharedMaps(Stage& stage);
void Surfaceless(Stage& stage);
void Surfaces(Stage& stage);
void Textures(Stage& stage);
void Threads(Stage& stage);
void TransformFeedback(Stage& stage);
void UniformBuffers(Stage& stage);
void VertexArrays(Stage& stage);

/// Sets the viewport to one of the four quarters of the picture.
void Quarter(int index);
/// Ends the program when a call failed.
void ExpectNoErrors(const char* where);
/// Shows the frame, which is to have had no errors.
void EndFrame(Stage& stage);
