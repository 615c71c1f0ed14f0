/*
 * bu_export.h - the one place that decides what libbuoutop.so exports.
 *
 * Everything is compiled with hidden visibility; a declaration marked
 * BU_EXPORT is part of the exported C interface (the PX_, DC_/dc, pm, LD_,
 * NU_, mp_int_, px_, HxClient_ families and the exported globals). A test
 * compares the dynamic symbol table of the built object with these families.
 */
#ifndef BU_EXPORT_H
#define BU_EXPORT_H

#define BU_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define BU_EXTERN_C extern "C"
#define BU_NOEXCEPT noexcept
#else
#define BU_EXTERN_C extern
#define BU_NOEXCEPT
#endif

/* Exported C function or global: BU_API int32_t DC_ReadRow(OperatorHandle*); */
#define BU_API BU_EXTERN_C BU_EXPORT

#endif /* BU_EXPORT_H */
