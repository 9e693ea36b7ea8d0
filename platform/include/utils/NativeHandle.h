// Generated code includes this by name; the handle itself is cutils/native_handle.h.
#pragma once

#include <cutils/native_handle.h>
