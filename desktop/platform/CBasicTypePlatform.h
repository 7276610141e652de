// What type identifiers need of the system: who claims an extension, who a file type.
//
// Operations answer one question in plain types, never throw, keep nothing between calls, decide
// nothing and may be called from any thread. They may be slow: their caller remembers the answers.
#pragma once

#include <string>

class CBasicTypePlatform
{
public:
    CBasicTypePlatform() = default;
    CBasicTypePlatform(CBasicTypePlatform const&) = delete;
    CBasicTypePlatform& operator=(CBasicTypePlatform const&) = delete;
    virtual ~CBasicTypePlatform() = default;

    /// The uniform type identifier that the system prefers for an extension, which has no dot and
    /// isn't empty; in any case of its letters. With `ofPackage` only one that conforms to
    /// "com.apple.package" will do. Empty if there is none.
    virtual std::u16string GetTypeForExtension(std::u16string const& extension,
                                               bool ofPackage) const = 0;

    /// The one that it prefers for a file type, a four-character code. Empty if there is none.
    virtual std::u16string GetTypeForFileType(unsigned int fileType) const = 0;
};

/// The platform in use. Any thread may call.
CBasicTypePlatform& TypePlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicTypePlatform* NewTypePlatform();

/// Puts another platform in use for a scope. For tests, while no other thread asks for types.
class StTypePlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StTypePlatform(CBasicTypePlatform& platform);
    StTypePlatform(StTypePlatform const&) = delete;
    StTypePlatform& operator=(StTypePlatform const&) = delete;
    ~StTypePlatform();

private:
    CBasicTypePlatform* mFormer;  // not owned
};
