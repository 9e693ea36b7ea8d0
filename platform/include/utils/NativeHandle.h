// Generated code includes this header; the handle is declared in cutils/native_handle.h.
#pragma once

#include <cutils/native_handle.h>
