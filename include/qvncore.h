/*
 * qvncore: the allocation pair shared by the qvngen libraries.
 *
 * qvnMalloc returns a block aligned to 64 bytes, or null when the count is
 * zero or negative or the memory is not available. qvnFree releases a block
 * from qvnMalloc; a null pointer is ignored.
 */
#ifndef QVNCORE_H
#define QVNCORE_H

#include <stdint.h>

#if defined(_WIN32) && !defined(_WIN64)
#define QVNCORE_API __stdcall
#elif defined(__i386__)
#define QVNCORE_API __attribute__((stdcall))
#else
#define QVNCORE_API
#endif

/* The DLL's exports are listed in its .def file (undecorated names). */
#if defined(_WIN32)
#if defined(QVN_BUILDING_CORE)
#define QVNCORE_EXPORT
#else
#define QVNCORE_EXPORT __declspec(dllimport)
#endif
#else
#define QVNCORE_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

QVNCORE_EXPORT void* QVNCORE_API qvnMalloc(int32_t byteCount);
QVNCORE_EXPORT void QVNCORE_API qvnFree(void* block);

#ifdef __cplusplus
}
#endif

#endif /* QVNCORE_H */
