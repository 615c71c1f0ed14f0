// layer_hooks.h - what the record formats hand to the layers below them:
// their record functions to the access layer, which picks a file's pair at
// open, and the data error dump to the character walk, which reports a bad
// character with it.
#ifndef BU_RECORDFORMAT_LAYER_HOOKS_H
#define BU_RECORDFORMAT_LAYER_HOOKS_H

namespace rf {

// Installs both. Runs when libbuoutop.so is loaded; a program that links the
// parts itself (the tests) calls it before it opens a file.
void installLayerHooks() noexcept;

}  // namespace rf

#endif  // BU_RECORDFORMAT_LAYER_HOOKS_H
