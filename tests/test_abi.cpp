// Calling-convention test of the 32-bit libraries: every export of every
// family, generic entries included, looked up by name at run time (dlsym, or
// GetProcAddress on Windows) and called through stdcall_probe_i386.S, which
// checks that the callee removed exactly its arguments and kept ebx, esi and
// edi. The statuses show that each argument arrived where it belongs: a
// valid call returns kStatusOk, and a bad flag, length or pointer the status
// of that argument.
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "qvngen.h"
#include "stdcall_probe.h"

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

// A loaded library and its exports by name.
class Library {
public:
    explicit Library(const char* file) {
#if defined(_WIN32)
        handle_ = LoadLibraryA(file);
#else
        handle_ = dlopen(file, RTLD_NOW | RTLD_LOCAL);
#endif
        if (!handle_) ADD_FAILURE() << "cannot load " << file;
    }
    const void* Find(const std::string& name) const {
        if (!handle_) return nullptr;
#if defined(_WIN32)
        return reinterpret_cast<const void*>(GetProcAddress(static_cast<HMODULE>(handle_), name.c_str()));
#else
        return dlsym(handle_, name.c_str());
#endif
    }

private:
    void* handle_ = nullptr;
};

const Library& Transforms() {
    static const Library library(QVN_TEST_LIBRARY);
    return library;
}
const Library& Core() {
    static const Library library(QVN_TEST_CORE_LIBRARY);
    return library;
}

// Stack offsets from 16-byte alignment at which every call is made. The
// Linux i386 ABI guarantees alignment to 16 at a call; a Win32 caller only
// to 4, so the DLL must work at every multiple of 4.
#if defined(_WIN32)
constexpr int32_t kMisalignments[] = {0, 4, 8, 12};
#else
constexpr int32_t kMisalignments[] = {0};
#endif

uint32_t Word(const void* p) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p)); }

// Calls `name` with `args` at every misalignment, checking what the callee
// left of the stack and the registers; returns eax of the last call.
int32_t Call(const Library& library, const std::string& name, std::initializer_list<uint32_t> args) {
    const void* function = library.Find(name);
    if (!function) {
        ADD_FAILURE() << name << ": not exported";
        return 0;
    }
    const std::vector<uint32_t> words(args);
    StdcallProbe probe{};
    for (int32_t misalign : kMisalignments) {
        probe = {};
        qvn_probe_stdcall(function, words.data(), static_cast<int32_t>(words.size()), misalign, &probe);
        EXPECT_EQ(probe.stackChange, 0)
            << name << " (" << 4 * words.size() << " bytes of arguments, stack off 16 by " << misalign
            << "): the callee left the stack pointer moved";
        EXPECT_EQ(probe.clobbered, 0) << name << ": callee-saved registers changed (bits ebx, esi, edi)";
    }
    return probe.result;
}

void CallTransform(const std::string& name, std::initializer_list<uint32_t> args, Status expected) {
    EXPECT_EQ(Call(Transforms(), name, args), expected) << name;
}

// Source and destination large enough for every family (WHT order 13 in
// double precision), 16-byte aligned; `kOff` moves a pointer off alignment.
alignas(16) double g_src[8192 + 8];
alignas(16) double g_dst[8192 + 8];
const uint32_t kSrc = Word(g_src), kDst = Word(g_dst);
const uint32_t kOff = 8;

constexpr uint32_t kFlag3 = 3;  // not a ScaleFlag

std::string Fixed(const std::string& stem, int n, const std::string& prec) {
    return stem + "_" + std::to_string(n) + "_" + prec;
}

TEST(Abi, ComplexDftEntries) {
    for (const char* stem : {"qvngDFTFwd_CToC", "qvngDFTInv_CToC"}) {
        for (const char* prec : {"32fc", "64fc"}) {
            for (int n = 2; n <= 64; ++n) {
                const std::string name = Fixed(stem, n, prec);
                CallTransform(name, {kSrc, kDst, kScaleFwdByN}, kStatusOk);
                CallTransform(name, {kSrc + kOff, kDst + kOff, kScaleBySqrtN}, kStatusOk);  // unaligned body
                CallTransform(name, {kSrc, kDst, kFlag3}, kStatusBadFlag);
                CallTransform(name, {0, kDst, kScaleNone}, kStatusNullPointer);
            }
            const std::string generic = std::string(stem) + "_" + prec;
            for (int n = 2; n <= 64; ++n) CallTransform(generic, {kSrc, kDst, uint32_t(n), kScaleInvByN}, kStatusOk);
            CallTransform(generic, {kSrc, kDst, 65, kScaleNone}, kStatusBadSize);
            CallTransform(generic, {kSrc, kDst, 16, kFlag3}, kStatusBadFlag);
        }
    }
}

TEST(Abi, RealDftAndHartleyEntries) {
    for (const char* stem : {"qvngDFTFwd_RToCCS", "qvngDFTFwd_RToPack", "qvngDFTFwd_RToPerm", "qvngDFTInv_CCSToR",
                             "qvngDFTInv_PackToR", "qvngDFTInv_PermToR", "qvngHartley"}) {
        for (const char* prec : {"32f", "64f"}) {
            for (int n = 2; n <= 64; ++n) {
                const std::string name = Fixed(stem, n, prec);
                CallTransform(name, {kSrc, kDst, kScaleFwdByN}, kStatusOk);
                CallTransform(name, {kSrc + kOff, kDst + kOff, kScaleNone}, kStatusOk);
                CallTransform(name, {kSrc, kDst, kFlag3}, kStatusBadFlag);
                CallTransform(name, {kSrc, 0, kScaleNone}, kStatusNullPointer);
            }
            const std::string generic = std::string(stem) + "_" + prec;
            for (int n = 2; n <= 64; ++n) CallTransform(generic, {kSrc, kDst, uint32_t(n), kScaleBySqrtN}, kStatusOk);
            CallTransform(generic, {kSrc, kDst, 1, kScaleNone}, kStatusBadSize);
            CallTransform(generic, {0, kDst, 8, kScaleNone}, kStatusNullPointer);
        }
    }
}

// Orders 8 and up take their work buffer from qvnMalloc when given none: the
// call crosses into qvncore and back.
TEST(Abi, WalshHadamardEntries) {
    for (const char* prec : {"32f", "64f"}) {
        for (uint32_t order = 1; order <= 13; ++order) {
            const std::string name = "qvngWHT_" + std::to_string(order) + "_" + prec;
            CallTransform(name, {kSrc, kDst, kScaleFwdByN, 0}, kStatusOk);
            CallTransform(name, {kSrc, kDst, kFlag3, 0}, kStatusBadFlag);
            CallTransform(std::string("qvngWHT_") + prec, {kSrc, kDst, order, kScaleNone, 0}, kStatusOk);
            int32_t bytes = -1;
            CallTransform(std::string("qvngWHTGetBufferSize_") + prec, {order, Word(&bytes)}, kStatusOk);
            EXPECT_GE(bytes, 0) << "order " << order;
        }
        CallTransform(std::string("qvngWHT_") + prec, {kSrc, kDst, 14, kScaleNone, 0}, kStatusBadSize);
        CallTransform(std::string("qvngWHTGetBufferSize_") + prec, {0, Word(g_dst)}, kStatusBadSize);
    }
}

// The whole lifecycle through the pointers: GetSize, Init in a block of that
// size, transform, and InitAlloc/Free.
TEST(Abi, Dct4Entries) {
    for (const std::string prec : {"32f", "64f"}) {
        for (uint32_t n = 2; n <= 1024; n *= 2) {
            int32_t size = 0;
            CallTransform("qvngDCT4GetSize_" + prec, {n, Word(&size)}, kStatusOk);
            ASSERT_GT(size, 0) << "N = " << n;
            std::vector<uint8_t> block(static_cast<std::size_t>(size));
            DCT4Spec* spec = nullptr;
            CallTransform("qvngDCT4Init_" + prec, {Word(&spec), n, Word(block.data())}, kStatusOk);
            CallTransform("qvngDCT4_" + prec, {kSrc, kDst, Word(spec)}, kStatusOk);

            DCT4Spec* owned = nullptr;
            CallTransform("qvngDCT4InitAlloc_" + prec, {Word(&owned), n}, kStatusOk);
            CallTransform("qvngDCT4_" + prec, {kSrc, kDst, Word(owned)}, kStatusOk);
            CallTransform("qvngDCT4Free_" + prec, {Word(owned)}, kStatusOk);
        }
        int32_t size = 0;
        CallTransform("qvngDCT4GetSize_" + prec, {3, Word(&size)}, kStatusBadSize);
        DCT4Spec* spec = nullptr;
        CallTransform("qvngDCT4InitAlloc_" + prec, {0, 16}, kStatusNullPointer);
        CallTransform("qvngDCT4Init_" + prec, {Word(&spec), 16, 0}, kStatusNullPointer);
        CallTransform("qvngDCT4_" + prec, {kSrc, kDst, 0}, kStatusNullPointer);
        CallTransform("qvngDCT4Free_" + prec, {0}, kStatusNullPointer);
    }
}

TEST(Abi, VersionQueryAndAllocationPair) {
    const auto* version = reinterpret_cast<const LibraryVersion*>(Call(Transforms(), "qvngenGetLibVersion", {}));
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version->major, 7);
    EXPECT_EQ(static_cast<uint32_t>(Call(Transforms(), "qvngenGetLibVersion", {})), Word(version))
        << "not the same record";

    const int32_t block = Call(Core(), "qvnMalloc", {100});
    EXPECT_NE(block, 0);
    EXPECT_EQ(block % 64, 0);
    Call(Core(), "qvnFree", {static_cast<uint32_t>(block)});
    EXPECT_EQ(Call(Core(), "qvnMalloc", {0}), 0);
}

}  // namespace
