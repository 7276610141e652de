// Releases what Foundation hands out autoreleased when a scope ends. For Objective-C++ alone.
#pragma once

#import <Foundation/Foundation.h>

class StAutoreleasePool
{
public:
    StAutoreleasePool()
        : mPool([[NSAutoreleasePool alloc] init])
    {
    }

    StAutoreleasePool(StAutoreleasePool const&) = delete;
    StAutoreleasePool& operator=(StAutoreleasePool const&) = delete;

    ~StAutoreleasePool() { [mPool release]; }

private:
    NSAutoreleasePool* mPool;  // owned
};
