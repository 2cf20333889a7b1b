// PMName: an owned character string for names that form a hierarchy.
//
// Host applications keep names such as folder paths or nested group names as one text
// whose elements are joined by a separator character. A PMName holds such a text (or
// none: a null name), extends it, splits it into its elements and stores it in a file
// through CFileIO as a length-prefixed string:
//   length      2 bytes (short form) or 4 bytes (long form), signed, little-endian
//   characters  `length` bytes without a terminator (absent when the length is 0)
// Nothing in the data tells which form was used; writer and reader agree by a flag.
//
// Failures that cannot be reported as a result code are thrown as PMNameException: a
// negative (or, in the short form, 0x8000 or larger) length read from a file, and an
// allocation failure while extending a name.
// Ownership: a name owns its characters. Threads: one object per thread at a time.
#pragma once

#include "CFileIO.h"
#include "PvMacTypes.h"

#include <exception>
#include <list>

/// Why a PMNameException was thrown (the reason is not kept in the exception).
typedef int tNameException;
enum : tNameException {
    kNameNegativeLength = 0, ///< FromFile read a negative or impossible length
    kNameOutOfMemory = 1, ///< Cat could not get memory for the longer name
};

/// Thrown by PMName; carries nothing beyond std::exception (what() is the standard text).
class PMNameException : public std::exception {
public:
    explicit PMNameException(tNameException reason);
};

class PMName {
public:
    /// A null name.
    PMName() = default;
    /// A copy of `text` (null: a null name).
    explicit PMName(const char* text);
    PMName(const PMName& other);
    PMName& operator=(const PMName& other);
    ~PMName();

    /// The zero-terminated text, or null for a null name.
    const char* Get() const { return mName; }
    /// Replaces the text by a copy of `text`; null makes the name null.
    void Set(const char* text);
    /// Replaces the text by `length` + 1 uninitialised bytes and returns them, for the
    /// caller to fill and terminate.
    char* Allocate(unsigned long length);
    /// Appends `text`; null or empty text changes nothing. Throws PMNameException
    /// (reason 1) when memory cannot be obtained; the name is then unchanged.
    void Cat(const char* text);
    /// Appends the elements of the name to `out`: one leading separator is skipped, two
    /// separators in a row give an empty element, a trailing separator gives none
    /// (":a::b:" with ':' gives a, "", b). A null name adds nothing.
    void GetElements(char separator, std::list<PMName>& out) const;
    /// Writes the length (0 for a null name) and then the characters with the sequential
    /// write of `file`. Returns the first write error, else 0. A name longer than the
    /// form can express gives paramErr and writes nothing.
    OSErr ToFile(CFileIO& file, unsigned char shortForm) const;
    /// Reads a name written by ToFile with the same form. A read error is returned; a
    /// length of 0 keeps the current name; a negative length (or a short one of 0x8000
    /// or more) throws PMNameException (reason 0). A length larger than the rest of the
    /// file gives eofErr without allocating it.
    OSErr FromFile(CFileIO& file, unsigned char shortForm);

private:
    char* mName = nullptr; // owned, new[]; null = no name
};
