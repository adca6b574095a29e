// Marks what the library exports; everything else in it is hidden.
#pragma once

#define MIRTAL_EXPORT __attribute__((visibility("default")))
