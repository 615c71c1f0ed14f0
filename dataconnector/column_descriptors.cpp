// The column descriptors of a producer's metadata columns: a gap opened in
// the arrays, and the slot's description put into it.
#include "producer_reads.h"
#include "schema.h"

namespace {

bool inSchema(int32_t column) {
    return column >= 0 && column < SG_ColCount;
}

bool isSlot(int32_t slot) {
    return slot >= 0 && slot < 2;
}

}  // namespace

// Requests outside the schema's arrays or its two slots do nothing.
extern "C" void dcShiftColDescriptors(int32_t first, int32_t last, int32_t slot) noexcept {
    if (last <= first || !inSchema(first) || !inSchema(last) || !isSlot(slot)) return;
    for (int32_t i = last; i > first; --i) {
        SG_IndBytes[i] = SG_IndBytes[i - 1];
        SG_ColLens[i] = SG_ColLens[i - 1];
        SG_ColTypes[i] = SG_ColTypes[i - 1];
        SG_ColLensBase[i] = SG_ColLensBase[i - 1];
        SG_IsInlineLOB[i] = SG_IsInlineLOB[i - 1];
        SG_IsVarType[i] = SG_IsVarType[i - 1];
        SG_ColLensOrig[i] = SG_ColLensOrig[i - 1];
        SG_ColNames[i] = SG_ColNames[i - 1];
        SG_ColOffs[i] = SG_ColOffs[i - 1] + MetadataColLen[slot] +
                        static_cast<uint32_t>(MetadataColPrefix[slot]);
    }
}

extern "C" void dcInsertColDescriptors(int32_t column, int32_t slot) noexcept {
    if (!inSchema(column) || !isSlot(slot)) return;
    SG_IndBytes[column] = 0;
    SG_ColLens[column] = MetadataColLen[slot];
    SG_ColLensBase[column] = MetadataColLenBase[slot];
    SG_ColTypes[column] = MetadataColType[slot];
    SG_IsInlineLOB[column] = 0;
    SG_IsVarType[column] = MetadataColType[slot] == bu::dc::kTypeVarchar ? 1 : 0;
    uint32_t offset = static_cast<uint32_t>(MetadataColPrefix[slot]);
    if (column > 0) offset += SG_ColOffs[column - 1] + SG_ColLens[column - 1];
    SG_ColOffs[column] = offset;
}
