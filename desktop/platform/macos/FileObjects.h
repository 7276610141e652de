// Between our text and paths and the objects of macOS. For Objective-C++ alone.
//
// Names with Create hand over a reference that the caller releases; other objects are autoreleased.
#pragma once

#include <string>

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

CFStringRef CreateString(std::u16string const& text);
NSString* StringOf(std::u16string const& text);
/// The units of a string; none for null.
std::u16string TextOf(NSString* string);

/// A file URL, not marked as a folder's; null if the path makes none.
CFURLRef CreateFileURL(std::u16string const& path);
NSURL* FileURL(std::u16string const& path);

/// False, and `path` as it was, if no path leads to what `ref` stands for.
bool GetPathOf(FSRef const& ref, std::u16string& path);
