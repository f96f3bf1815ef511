// The platform's headers, in the one order that works.
#pragma once

// clang-format off
#include <windows.h>
#include <windowsx.h>
#include <commctrl.h>
#include <commdlg.h>
#include <shellapi.h>
#include <uxtheme.h>
// clang-format on
