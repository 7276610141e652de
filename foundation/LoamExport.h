// Marks what hosts may link against, and names Objective-C classes in headers that plain C++ reads
// too.
#pragma once

/// In front of a class, function or constant that `libloam` exports. All else is hidden.
#define LOAM_EXPORT __attribute__((visibility("default")))

/// Declares an Objective-C class by name for use as a pointer type. In plain C++ it is an opaque
/// type.
#ifdef __OBJC__
#define LOAM_OBJC_CLASS(name) @class name
#else
#define LOAM_OBJC_CLASS(name) typedef struct objc_object name
#endif
