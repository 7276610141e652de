// A reference that CoreFoundation handed over, for a scope. For macOS alone.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

template <class Type>
class StReference
{
public:
    /// Null is fine.
    explicit StReference(Type reference)
        : mReference(reference)
    {
    }

    StReference(StReference const&) = delete;
    StReference& operator=(StReference const&) = delete;

    ~StReference()
    {
        if (mReference) CFRelease(mReference);
    }

    Type Get() const { return mReference; }

private:
    Type mReference;  // owned
};
