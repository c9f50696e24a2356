#pragma once

// The calls of the shell. Its header needs the other one before it.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on
