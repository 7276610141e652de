// What all encodings of bytes as text have in common.
#pragma once

#include "foundation/LoamExport.h"

class LOAM_EXPORT CEncoder
{
public:
    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CEncoder() = default;

    /// The number of this encoding among the encodings.
    virtual int GetEncoding() const = 0;

protected:
    CEncoder() = default;
    CEncoder(CEncoder const&) = default;
    CEncoder& operator=(CEncoder const&) = default;
};
