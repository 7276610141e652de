// Functions of shared libraries that are loaded when one of them is needed first, and not when a
// host starts: some take longer for that than all the rest of a host. docs/late-libraries.md tells
// which, and why.
//
//     namespace avahi {
//     inline constinit CLateLibrary library("libavahi-client.so.3");
//     LOAM_LATE_FUNCTION(avahi_, client_free);
//     }
//     ...
//     if (avahi::library.IsThere()) avahi::client_free(client);
#pragma once

#include <atomic>

/// A shared library, which is never unloaded. Any thread may call.
class CLateLibrary
{
public:
    /// `file` is looked for as the system's loader does, and not owned.
    constexpr explicit CLateLibrary(char const* file)
        : mFile(file)
    {
    }

    /// Loads it, if that wasn't done yet. False if it isn't on this machine, or is broken: none of
    /// its functions may be called then. No thread is cancelled in here.
    bool IsThere();

    /// The function of that name, of the library or of those that it stands on. If there is none,
    /// this ends the process with a message, as the loader does at a start.
    void* Find(char const* function);

private:
    char const* mFile;                    // not owned
    std::atomic<void*> mHandle{nullptr};  // null before it is loaded
};

/// One function of such a library, called and handed on as if it were that function.
template <class Function>
class CLateFunction
{
public:
    constexpr CLateFunction(CLateLibrary& library, char const* name)
        : mLibrary(library)
        , mName(name)
    {
    }

    // Implicit, as a function turns into its pointer.
    operator Function*()
    {
        // With what the loader wrote into the library, which is another thread's work perhaps.
        Function* found = mFound.load(std::memory_order_acquire);
        if (!found) {
            found = reinterpret_cast<Function*>(mLibrary.Find(mName));
            mFound.store(found, std::memory_order_release);
        }
        return found;
    }

private:
    CLateLibrary& mLibrary;
    char const* mName;                       // not owned
    std::atomic<Function*> mFound{nullptr};  // null before the first use
};

/// `name` in this namespace for the function `prefix``name` of its `library`, with the type that
/// the library's header gives it.
#define LOAM_LATE_FUNCTION(prefix, name)                                                           \
    inline constinit CLateFunction<decltype(::prefix##name)> name(library, #prefix #name)
