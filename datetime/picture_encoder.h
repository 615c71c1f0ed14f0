// picture_encoder.h - translation of a picture ("YYYY-MM-DD HH:MI") into the
// encoded format the parser and the printer read ("%Y-%m-%d %H:%M").
#pragma once

namespace bu::datetime {

// Upper-cases `picture` in place and writes its encoded format to `encoded`,
// which must hold strlen(picture) + 3 bytes. Returns 0 or an error code.
// A code left over from an earlier failure is never cleared here: it stops
// the translation before the first element and is returned again.
int _parse(char* picture, char* encoded);

}  // namespace bu::datetime
