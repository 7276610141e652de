// Marks what programs may link against.
#pragma once

/// In front of a class or function that `libmarl` exports. All else is hidden.
#define MARL_EXPORT __attribute__((visibility("default")))
