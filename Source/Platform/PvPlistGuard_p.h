// A structural check of binary property lists before they are handed to libplist.
//
// libplist builds a full tree from a binary property list and copies an object each
// time it is referenced, so a few hundred bytes whose containers refer to the same
// objects again and again unfold into billions of nodes. Property lists from outside
// (file-reference blocks, alias records) pass this check first.
#pragma once

#include <cstddef>

/// True when `data` is a well-formed binary property list (header, trailer, offset
/// table and container references all inside the block), without reference cycles,
/// nested at most 32 deep and unfolding into at most 65536 nodes.
bool PvBinaryPlistIsTame(const char* data, size_t size);
