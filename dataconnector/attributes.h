/*
 * attributes.h - reading job attributes from the host: the checked fetch
 * and the yes/no reader.
 */
#ifndef BU_DC_ATTRIBUTES_H
#define BU_DC_ATTRIBUTES_H

#include <cstddef>
#include <cstdint>

#include "bu_export.h"
#include "px_boundary.h"

extern "C" {

// Length of the latest attribute read by the layer's readers.
BU_API int32_t PX_Len;
// Set by DC_GetYN when the attribute it read was present.
extern int32_t bYNAttrPresent;

// The yes/no names indexed by the value of DC_GetYN, rows of 15 bytes.
extern const char YNNames[4][15];

// Reads one attribute. `length` is the maximum (or, with `exact`, the only
// accepted) length, -1 for no limit. Returns 0 or 48; status 5 with result 0
// means absent and not required.
BU_API int32_t dcGetAttribute(const char* caller, const char* name, void** value, int32_t required,
                              int32_t length, int32_t exact, int32_t* valueLength,
                              int32_t* serviceStatus) noexcept;

// Reads a yes/no attribute: 0 no, 1 yes, 2 optional (kind 1), 3 yes without
// log (kind 2), -1 invalid. Returns 0, or 1 for an invalid value.
BU_API int32_t DC_GetYN(const char* name, int32_t* value, int32_t display, int32_t defaultValue,
                        int32_t kind) noexcept;
}

namespace bu::dc {

inline constexpr int32_t kAttrAbsent = PXSTC_NotFound;

// What the host answered for one attribute. `fits` is set only for status 0
// with a value that can be read for `length` bytes and a length within the
// caller's limit (as dcGetAttribute takes it); only then is `value` set,
// never null (an empty answer points at an empty text).
struct AttributeAnswer {
    int32_t status = PXSTC_BadHandle;
    int32_t length = 0;
    void* value = nullptr;
    bool fits = false;

    // The status a caller reports: the host's, or 29 ("Length Error") for a
    // value that was refused.
    int32_t outcome() const noexcept {
        return status != 0 || fits ? status : int32_t{PXSTC_LengthError};
    }
};

// The one place that calls PX_GetAttribute: the handle's kind is checked
// (1 "Bad Handle" otherwise) and the answer vetted as above.
AttributeAnswer askForAttribute(OperatorHandle* handle, const char* name, int32_t limit,
                                int32_t exact) noexcept;

// Longest name or path the operator copies out of an attribute.
inline constexpr int32_t kMaxTextAttribute = 4096;

// Reads an optional 32-bit number; absent leaves `value` alone.
// Returns dcGetAttribute's result; `present` tells whether it was there.
int32_t readOptionalInt(const char* caller, const char* name, int32_t* value,
                        bool* present) noexcept;

// An upper-cased copy of `length` bytes of an attribute's value, cut to
// fit `size` and terminated; keyword values are compared in this form.
void upperCaseCopy(char* target, size_t size, const void* source, int32_t length) noexcept;

// Reads a required 32-bit number.
int32_t readRequiredInt(const char* caller, const char* name, int32_t* value) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_ATTRIBUTES_H
