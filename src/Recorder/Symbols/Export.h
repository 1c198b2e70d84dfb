// What the library shows to the program it is loaded into. Everything else is hidden.
#pragma once

#define RECORDER_EXPORT extern "C" __attribute__((visibility("default")))
