/*
 * layer_globals.h - the process-wide globals of the layers, listed once in a
 * table with their values at load, so that one process can serve one job
 * after another (the tests and the lifecycle fuzz target do) and start each
 * from the state of a fresh process.
 *
 * The table of the data connector and the layers below it is in
 * layer_globals.cpp; the operator keeps one of its own (operator_state.cpp).
 */
#ifndef BU_DC_LAYER_GLOBALS_H
#define BU_DC_LAYER_GLOBALS_H

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <span>

namespace bu {

// One global: its name, where it is, its size, and whether it points to a
// block the layer allocated with malloc, freed when the global goes back.
struct LayerGlobal {
    const char* name;
    void* address;
    size_t size;
    bool ownsBlock;
};

// Constants can't be listed: they never change.
template <typename T>
constexpr LayerGlobal layerGlobal(const char* name, T& variable) {
    return {name, &variable, sizeof variable, false};
}

// An owned global is a pointer to its block.
template <typename T>
constexpr LayerGlobal ownedLayerGlobal(const char* name, T*& pointer) {
    return {name, &pointer, sizeof pointer, true};
}

#define BU_GLOBAL(variable) ::bu::layerGlobal(#variable, variable)
#define BU_OWNED_GLOBAL(variable) ::bu::ownedLayerGlobal(#variable, variable)

// The values the globals of `Table` held at load, taken when this object is
// built. Every listed global is constant-initialised, and a namespace-scope
// object like this one is built after those and before any code runs.
template <const auto& Table>
class ValuesAtLoad {
  public:
    ValuesAtLoad() noexcept {
        size_t at = 0;
        for (const LayerGlobal& global : Table) {
            std::memcpy(bytes_.data() + at, global.address, global.size);
            at += global.size;
        }
    }

    // Puts every global back, freeing the blocks of owned ones first.
    void restore() const noexcept {
        size_t at = 0;
        for (const LayerGlobal& global : Table) {
            if (global.ownsBlock) {
                void* block = nullptr;
                std::memcpy(&block, global.address, sizeof block);
                std::free(block);
            }
            std::memcpy(global.address, bytes_.data() + at, global.size);
            at += global.size;
        }
    }

  private:
    static constexpr size_t totalSize() {
        size_t total = 0;
        for (const LayerGlobal& global : Table) total += global.size;
        return total;
    }

    std::array<std::byte, totalSize()> bytes_;
};

}  // namespace bu

namespace bu::dc {

// The table of the data connector and the layers below it.
std::span<const LayerGlobal> layerGlobals() noexcept;

// Puts the data connector and the layers below it back as a fresh process
// has them: shuts the access layer down, frees the schema, forgets the trace
// log, and restores every global of the table.
void resetLayers() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_LAYER_GLOBALS_H
