// How System Events is spoken to.
#include "desktop/LoginItemsAE.h"

#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>

// Wrong arguments end the process in every build.
#undef NDEBUG
#include <cassert>

namespace {

// Codes of System Events' own dictionary.
constexpr OSType kSystemEvents = 'sevs';
constexpr DescType kLoginItemClass = 'logi';
constexpr DescType kAllProperties = 'pALL';
constexpr AEKeyword kItemPath = 'ppth';
constexpr AEKeyword kItemIsHidden = 'hidn';

constexpr long kReplyTicks = 300;
constexpr std::size_t kPathBytes = 1024;

// Leaves the null descriptor behind, so that a descriptor can be disposed of twice.
void AEDisposeDescQ(AEDesc* descriptor)
{
    OSStatus const junk = AEDisposeDesc(descriptor);
    assert(junk == noErr);
    *descriptor = {typeNull, nullptr};
}

// A descriptor for a scope, null until a call fills it.
class StDescriptor
{
public:
    StDescriptor() = default;
    StDescriptor(StDescriptor const&) = delete;
    StDescriptor& operator=(StDescriptor const&) = delete;

    ~StDescriptor() { AEDisposeDescQ(&mDescriptor); }

    AEDesc* Get() { return &mDescriptor; }

    // The caller disposes of it from now on.
    AEDesc Release() { return std::exchange(mDescriptor, AEDesc{typeNull, nullptr}); }

private:
    AEDesc mDescriptor = {typeNull, nullptr};
};

OSStatus StartSystemEvents(ProcessSerialNumber& process)
{
    FSRef application = {};
    OSStatus const err =
        LSFindApplicationForInfo(kSystemEvents, nullptr, nullptr, &application, nullptr);
    if (err != noErr) return err;
    LSApplicationParameters parameters = {};
    parameters.flags = kLSLaunchDefaults;
    parameters.application = &application;
    return LSOpenApplication(&parameters, &process);
}

OSStatus FindSystemEvents(ProcessSerialNumber& process)
{
    process = {0, kNoProcess};
    for (;;) {
        ProcessInfoRec info = {};
        info.processInfoLength = sizeof info;
        OSStatus err = GetNextProcess(&process);
        // A process that ends meanwhile ends the walk too. To start what runs already does no harm.
        if (err == noErr) err = GetProcessInformation(&process, &info);
        if (err == procNotFound) return StartSystemEvents(process);
        if (err != noErr) return err;
        if (info.processSignature == kSystemEvents) return noErr;
    }
}

// What the reply itself reports. One without an error number is a success.
OSStatus ErrorOf(AppleEvent const& reply)
{
    if (reply.descriptorType == typeNull) return noErr;
    SInt16 number = 0;
    DescType type = typeNull;
    Size size = 0;
    OSStatus const err =
        AEGetParamPtr(&reply, keyErrorNumber, typeSInt16, &type, &number, sizeof number, &size);
    if (err == errAEDescNotFound) return noErr;
    return err == noErr ? number : err;
}

OSStatus PutParameters(AppleEvent& event, va_list parameters)
{
    for (;;) {
        AEKeyword const keyword = va_arg(parameters, AEKeyword);
        if (keyword == 0) return noErr;
        AEDesc* const thisDesc = va_arg(parameters, AEDesc*);
        assert(thisDesc != NULL);
        OSStatus const err = AEPutParamDesc(&event, keyword, thisDesc);
        if (err != noErr) return err;
    }
}

OSStatus MakeEvent(AEEventID event, AppleEvent* result)
{
    ProcessSerialNumber process;
    OSStatus err = FindSystemEvents(process);
    if (err != noErr) return err;
    StDescriptor target;
    err = AECreateDesc(typeProcessSerialNumber, &process, sizeof process, target.Get());
    if (err != noErr) return err;
    return AECreateAppleEvent(kAECoreSuite, event, target.Get(), kAutoGenerateReturnID,
                              kAnyTransactionID, result);
}

// Sends an event of the class "core". Behind `reply`, which may be null, stand pairs of a keyword
// and a descriptor, and a keyword of 0. The caller disposes of the reply; there is none on failure.
OSStatus SendEventToSystemEventsWithParameters(AEEventID event, AppleEvent* reply, ...)
{
    assert((reply == NULL) || (reply->descriptorType == typeNull));

    StDescriptor request;
    OSStatus err = MakeEvent(event, request.Get());
    if (err == noErr) {
        va_list parameters;
        va_start(parameters, reply);
        err = PutParameters(*request.Get(), parameters);
        va_end(parameters);
    }
    StDescriptor answer;
    if (err == noErr) err = AESendMessage(request.Get(), answer.Get(), kAEWaitReply, kReplyTicks);
    if (err == noErr) err = ErrorOf(*answer.Get());
    if (err == noErr && reply) *reply = answer.Release();

    assert((reply == NULL) || ((err == noErr) == (reply->descriptorType != typeNull)));
    return err;
}

// The item at `position`, counted from 1, or with `typeAbsoluteOrdinal` all of them.
OSStatus SpecifyItems(DescType form, void const* position, Size size, AEDesc* result)
{
    StDescriptor key;
    OSStatus const err = AECreateDesc(form, position, size, key.Get());
    if (err != noErr) return err;
    StDescriptor container;
    return CreateObjSpecifier(kLoginItemClass, container.Get(), formAbsolutePosition, key.Get(),
                              false, result);
}

OSStatus SpecifyPropertiesOfAll(AEDesc* result)
{
    OSType const all = kAEAll;
    StDescriptor items;
    OSStatus err = SpecifyItems(typeAbsoluteOrdinal, &all, sizeof all, items.Get());
    if (err != noErr) return err;
    DescType const properties = kAllProperties;
    StDescriptor key;
    err = AECreateDesc(typeType, &properties, sizeof properties, key.Get());
    if (err != noErr) return err;
    return CreateObjSpecifier(cProperty, items.Get(), formPropertyID, key.Get(), false, result);
}

// A URL of what is there, or else of the bytes as they are.
CFURLRef CreateURL(UInt8 const* path)
{
    FSRef item;
    if (FSPathMakeRef(path, &item, nullptr) == noErr)
        return CFURLCreateFromFSRef(kCFAllocatorDefault, &item);
    auto const length = static_cast<CFIndex>(std::strlen(reinterpret_cast<char const*>(path)));
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, path, length, false);
}

OSStatus AppendItem(CFMutableArrayRef items, CFURLRef url, bool isHidden)
{
    void const* keys[] = {CFSTR("URL"), CFSTR("Hidden")};
    void const* values[] = {url, isHidden ? kCFBooleanTrue : kCFBooleanFalse};
    CFDictionaryRef const item =
        CFDictionaryCreate(kCFAllocatorDefault, keys, values, 2, &kCFTypeDictionaryKeyCallBacks,
                           &kCFTypeDictionaryValueCallBacks);
    if (!item) return coreFoundationUnknownErr;
    CFArrayAppendValue(items, item);
    CFRelease(item);
    return noErr;
}

OSStatus AppendNthItem(AEDescList const* list, long index, CFMutableArrayRef items)
{
    StDescriptor record;
    AEKeyword keyword = 0;
    OSStatus err = AEGetNthDesc(list, index, typeAERecord, &keyword, record.Get());
    if (err != noErr) return err;

    UInt8 path[kPathBytes];
    constexpr Size kRoom = sizeof path - 1;
    DescType type = typeNull;
    Size size = 0;
    err = AEGetParamPtr(record.Get(), kItemPath, typeUTF8Text, &type, path, kRoom, &size);
    if (err != noErr) return err;
    // The size is that of the whole path, even where it doesn't fit.
    path[std::clamp<Size>(size, 0, kRoom)] = 0;
    CFURLRef const url = CreateURL(path);
    if (!url) return coreFoundationUnknownErr;

    Boolean isHidden = false;
    err = AEGetParamPtr(record.Get(), kItemIsHidden, typeBoolean, &type, &isHidden, sizeof isHidden,
                        &size);
    err = AppendItem(items, url, err == noErr && isHidden);
    CFRelease(url);
    return err;
}

OSStatus CreateCFArrayFromAEDescList(AEDescList const* list, CFArrayRef* itemsPtr)
{
    assert(*itemsPtr == NULL);

    CFMutableArrayRef const items =
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
    if (!items) return coreFoundationUnknownErr;
    long count = 0;
    OSStatus err = AECountItems(list, &count);
    for (long index = 1; err == noErr && index <= count; ++index)
        err = AppendNthItem(list, index, items);
    if (err == noErr) {
        *itemsPtr = items;
    } else {
        CFRelease(items);
    }
    return err;
}

OSStatus MakeProperties(FSRef const* item, Boolean hideIt, AEDesc* result)
{
    UInt8 path[kPathBytes];
    OSStatus err = FSRefMakePath(item, path, sizeof path);
    if (err != noErr) return err;
    auto const length = static_cast<Size>(std::strlen(reinterpret_cast<char const*>(path)));
    StDescriptor text;
    err = AECoercePtr(typeUTF8Text, path, length, typeUnicodeText, text.Get());
    if (err != noErr) return err;

    err = AECreateList(nullptr, 0, true, result);
    if (err != noErr) return err;
    err = AEPutParamDesc(result, kItemPath, text.Get());
    if (err != noErr) return err;
    return AEPutParamPtr(result, kItemIsHidden, typeBoolean, &hideIt, sizeof hideIt);
}

OSStatus MakeEndOfList(AEDesc* result)
{
    StDescriptor record;
    OSStatus err = AECreateList(nullptr, 0, true, record.Get());
    if (err != noErr) return err;
    err = AEPutParamPtr(record.Get(), keyAEObject, typeNull, nullptr, 0);
    if (err != noErr) return err;
    OSType const end = kAEEnd;
    err = AEPutParamPtr(record.Get(), keyAEPosition, typeEnumerated, &end, sizeof end);
    if (err != noErr) return err;
    return AECoerceDesc(record.Get(), typeInsertionLoc, result);
}

}  // namespace

OSStatus LIAECopyLoginItems(CFArrayRef* itemsPtr)
{
    assert(itemsPtr != NULL);
    assert(*itemsPtr == NULL);

    StDescriptor specifier;
    StDescriptor reply;
    StDescriptor list;
    OSStatus err = SpecifyPropertiesOfAll(specifier.Get());
    if (err == noErr) {
        err = SendEventToSystemEventsWithParameters(kAEGetData, reply.Get(), keyDirectObject,
                                                    specifier.Get(), 0);
    }
    if (err == noErr) err = AEGetParamDesc(reply.Get(), keyDirectObject, typeAEList, list.Get());
    if (err == noErr) err = CreateCFArrayFromAEDescList(list.Get(), itemsPtr);

    assert((err == noErr) == (*itemsPtr != NULL));
    return err;
}

OSStatus LIAEAddRefAtEnd(FSRef const* item, Boolean hideIt)
{
    assert(item != NULL);

    DescType const itemClass = kLoginItemClass;
    StDescriptor kind;
    StDescriptor properties;
    StDescriptor place;
    OSStatus err = AECreateDesc(typeType, &itemClass, sizeof itemClass, kind.Get());
    if (err == noErr) err = MakeProperties(item, hideIt, properties.Get());
    if (err == noErr) err = MakeEndOfList(place.Get());
    if (err != noErr) return err;
    return SendEventToSystemEventsWithParameters(kAECreateElement, nullptr, keyAEObjectClass,
                                                 kind.Get(), keyAEPropData, properties.Get(),
                                                 keyAEInsertHere, place.Get(), 0);
}

OSStatus LIAEAddURLAtEnd(CFURLRef item, Boolean hideIt)
{
    assert(item != NULL);

    FSRef reference;
    if (!CFURLGetFSRef(item, &reference)) return fnfErr;
    return LIAEAddRefAtEnd(&reference, hideIt);
}

OSStatus LIAERemove(CFIndex itemIndex)
{
    assert(itemIndex >= 0);

    // System Events counts from 1.
    auto const position = static_cast<SInt32>(itemIndex + 1);
    StDescriptor item;
    OSStatus const err = SpecifyItems(typeSInt32, &position, sizeof position, item.Get());
    if (err != noErr) return err;
    return SendEventToSystemEventsWithParameters(kAEDelete, nullptr, keyDirectObject, item.Get(),
                                                 0);
}
