// Marks what the library exports; everything else in it is hidden.
#pragma once

#define VEK_SENSORS_EXPORT __attribute__((visibility("default")))
