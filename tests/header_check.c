/* Compiled as C (this file) and as C++ (header_check_cpp.cpp) on every
 * target, with warnings as errors. Taking each family's export into a pointer
 * of the convention the target must have fails when QVN_API or QVNCORE_API
 * expands to anything else: a stdcall function does not convert to a plain
 * pointer on 32-bit x86 (nor the reverse), and on x86-64 a stdcall attribute
 * is reported as ignored. Nothing here runs. */
#include "qvncore.h"
#include "qvngen.h"

#if defined(__i386__)
#define EXPECTED_CONVENTION __attribute__((stdcall))
#else
#define EXPECTED_CONVENTION
#endif

typedef Status(EXPECTED_CONVENTION* ComplexFixed)(const Complex32f*, Complex32f*, ScaleFlag);
typedef Status(EXPECTED_CONVENTION* ComplexGeneric)(const Complex64f*, Complex64f*, int32_t, ScaleFlag);
typedef Status(EXPECTED_CONVENTION* RealFixed)(const double*, double*, ScaleFlag);
typedef Status(EXPECTED_CONVENTION* RealGeneric)(const float*, float*, int32_t, ScaleFlag);
typedef Status(EXPECTED_CONVENTION* WhtFixed)(const float*, float*, ScaleFlag, uint8_t*);
typedef Status(EXPECTED_CONVENTION* WhtGeneric)(const double*, double*, int32_t, ScaleFlag, uint8_t*);
typedef Status(EXPECTED_CONVENTION* SizeQuery)(int32_t, int32_t*);
typedef Status(EXPECTED_CONVENTION* Dct4Init)(DCT4Spec**, int32_t, uint8_t*);
typedef Status(EXPECTED_CONVENTION* Dct4InitAlloc)(DCT4Spec**, int32_t);
typedef Status(EXPECTED_CONVENTION* Dct4Free)(DCT4Spec*);
typedef Status(EXPECTED_CONVENTION* Dct4Transform)(const float*, float*, DCT4Spec*);
typedef const LibraryVersion*(EXPECTED_CONVENTION* VersionQuery)(void);
typedef void*(EXPECTED_CONVENTION* CoreMalloc)(int32_t);
typedef void(EXPECTED_CONVENTION* CoreFree)(void*);

typedef struct ExportsOfEveryFamily {
    ComplexFixed complexFixed;
    ComplexGeneric complexGeneric;
    RealFixed realFixed, hartleyFixed;
    RealGeneric realGeneric, hartleyGeneric;
    WhtFixed whtFixed;
    WhtGeneric whtGeneric;
    SizeQuery whtSize, dct4Size;
    Dct4Init dct4Init;
    Dct4InitAlloc dct4InitAlloc;
    Dct4Free dct4Free;
    Dct4Transform dct4;
    VersionQuery version;
    CoreMalloc coreMalloc;
    CoreFree coreFree;
} ExportsOfEveryFamily;

#ifdef __cplusplus
extern "C"
#endif
void qvn_header_check(ExportsOfEveryFamily* e);

/* Addresses of dllimport functions are no constants in C, hence a function
 * rather than static initialisers. */
void qvn_header_check(ExportsOfEveryFamily* e) {
    e->complexFixed = qvngDFTFwd_CToC_16_32fc;
    e->complexGeneric = qvngDFTInv_CToC_64fc;
    e->realFixed = qvngDFTInv_PermToR_7_64f;
    e->realGeneric = qvngDFTFwd_RToCCS_32f;
    e->hartleyFixed = qvngHartley_37_64f;
    e->hartleyGeneric = qvngHartley_32f;
    e->whtFixed = qvngWHT_13_32f;
    e->whtGeneric = qvngWHT_64f;
    e->whtSize = qvngWHTGetBufferSize_32f;
    e->dct4Size = qvngDCT4GetSize_64f;
    e->dct4Init = qvngDCT4Init_32f;
    e->dct4InitAlloc = qvngDCT4InitAlloc_64f;
    e->dct4Free = qvngDCT4Free_32f;
    e->dct4 = qvngDCT4_32f;
    e->version = qvngenGetLibVersion;
    e->coreMalloc = qvnMalloc;
    e->coreFree = qvnFree;
}
