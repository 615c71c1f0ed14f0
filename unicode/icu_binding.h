// The binding of the wrapped ICU library: its state, and the table of the
// addresses looked up in it, in a fixed order.
#ifndef BU_UNICODE_ICU_BINDING_H
#define BU_UNICODE_ICU_BINDING_H

#include <cstdint>

namespace bu::unicode {

enum IcuSlot : int {
    kUcnvOpen,
    kUcnvSetToUCallBack,
    kUcnvSetFromUCallBack,
    kToUCallbackStop,
    kFromUCallbackStop,
    kUcnvToUChars,
    kUcnvFromUChars,
    kUcnvClose,
    kUStrcpy,
    kUStrncpy,
    kUStrstr,
    kUStrcat,
    kUStrlen,
    kUErrorName,
    kHxicuVersion,
    kUnorm2GetInstance,
    kUnorm2Normalize,
    kIcuSlotCount
};

// Binds the library if it isn't bound: 0, or the failure of the binding.
int32_t ensureBound() noexcept;

// The address in a slot; null when the library lacks the name.
void* slotAddress(IcuSlot slot) noexcept;

// The same as the function it is. Only meaningful once ensureBound() has
// given 0.
template <class Function>
Function boundFunction(IcuSlot slot) noexcept {
    return reinterpret_cast<Function>(slotAddress(slot));
}

}  // namespace bu::unicode

#endif  // BU_UNICODE_ICU_BINDING_H
