// The one exception type of Marl and Loam.
//
// It is thrown by value and caught by reference across library boundaries, so its virtual table and
// type record live in `libmarl` alone.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "marl/MarlExport.h"

/// A failed action, told as a list of records from the first cause outwards. Callers compare
/// `levels[0].signature` and `levels[0].category`, in this order: a category means something only
/// within its signature.
class MARL_EXPORT HierarchicalException : public std::exception
{
public:
    struct Level
    {
        unsigned int signature;  ///< the domain: four ASCII characters, the first in the most
                                 ///< significant byte
        int category;            ///< the portable kind of failure within the domain
        int context;             ///< what was being done, a small code of the domain
        int osError;  ///< the platform's own number; 0 or -1 where no platform call lies behind it
        std::string text;  ///< what failed, by name, in UTF-8; often empty
    };

    /// An exception of one record.
    HierarchicalException(
        unsigned int signature, int category, int context, int osError, std::string text);
    /// The same with an optional text: null means none.
    HierarchicalException(
        unsigned int signature, int category, int context, int osError, std::string const* text);
    HierarchicalException(HierarchicalException const& other);
    HierarchicalException& operator=(HierarchicalException const& other);
    ~HierarchicalException() override;

    /// All records in one line, UTF-8, for logs; for instance
    /// `file: category 2 in operation 5, error 2 (No such file or directory): /a/b`.
    /// Control characters of a text come as `\xHH`. Belongs to the exception and tells the records
    /// that were there at construction or at the last call of `AddLevel`.
    char const* what() const noexcept override;

    /// Adds a record that tells what the failure meant further out, and renders `what()` anew.
    void AddLevel(Level level);

    std::vector<Level> levels;
    std::string message;  ///< what `what()` returns
};
