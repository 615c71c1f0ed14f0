// charset_routines.h - the routines a set installs in its slots; shared by
// the table of sets and the files that hold them.
#ifndef BU_CHARSETS_CHARSET_ROUTINES_H
#define BU_CHARSETS_CHARSET_ROUTINES_H

#include <cstdint>

namespace bu::charsets {

// toupper on every byte that islower accepts.
char* upperCaseBytes(char* text, int32_t length) noexcept;
// The same for single-byte characters only, walking with IsMBC.
char* upperCaseCharacters(char* text, int32_t length) noexcept;
// Returns its argument.
char* passThrough(char* text) noexcept;

}  // namespace bu::charsets

#endif  // BU_CHARSETS_CHARSET_ROUTINES_H
