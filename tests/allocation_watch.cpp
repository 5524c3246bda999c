// How the library's calls of qvnMalloc and qvnFree reach the watch:
// - ELF: the test program defines the two functions itself and exports them;
//   the dynamic linker binds the library's references to the program's
//   definitions first, which pass the call on to libqvncore (RTLD_NEXT).
// - Windows: a DLL binds its imports through its own import address table,
//   so at start-up the watch rewrites the two slots of qvngenz3's table that
//   point into qvncore.
#include "allocation_watch.h"

#include <algorithm>

#include "qvncore.h"

namespace qvntest {

AllocationLog g_alloc;

namespace {

using MallocFn = void*(QVNCORE_API*)(int32_t);
using FreeFn = void(QVNCORE_API*)(void*);

void* RecordMalloc(MallocFn real, int32_t byteCount) {
    ++g_alloc.mallocs;
    g_alloc.lastSize = byteCount;
    g_alloc.largest = std::max(g_alloc.largest, byteCount);
    void* p = g_alloc.fail ? nullptr : real(byteCount);
    if (p) g_alloc.live.push_back(p);
    return p;
}

void RecordFree(FreeFn real, void* block) {
    ++g_alloc.frees;
    auto it = std::find(g_alloc.live.begin(), g_alloc.live.end(), block);
    if (it != g_alloc.live.end()) g_alloc.live.erase(it);
    else if (block) ++g_alloc.strayFrees;
    real(block);
}

}  // namespace
}  // namespace qvntest

#if defined(_WIN32)

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cstring>
#include <stdexcept>

namespace qvntest {
namespace {

void* QVNCORE_API WatchedMalloc(int32_t byteCount) { return RecordMalloc(qvnMalloc, byteCount); }
void QVNCORE_API WatchedFree(void* block) { RecordFree(qvnFree, block); }

// Points the library's import slots of qvnMalloc and qvnFree at the watch.
void RedirectLibraryImports() {
    auto* base = reinterpret_cast<unsigned char*>(GetModuleHandleA("qvngenz3-7.0.dll"));
    if (!base) throw std::runtime_error("allocation watch: qvngenz3-7.0.dll is not loaded");
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    int redirected = 0;
    for (auto* module = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
         module->Name != 0; ++module) {
        if (_stricmp(reinterpret_cast<const char*>(base + module->Name), "qvncore-7.0.dll") != 0) continue;
        auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + module->OriginalFirstThunk);
        auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + module->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            const char* symbol = reinterpret_cast<const char*>(
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData)->Name);
            void* hook = std::strcmp(symbol, "qvnMalloc") == 0 ? reinterpret_cast<void*>(&WatchedMalloc)
                         : std::strcmp(symbol, "qvnFree") == 0 ? reinterpret_cast<void*>(&WatchedFree)
                                                                : nullptr;
            if (!hook) continue;
            DWORD access;
            VirtualProtect(&slot->u1.Function, sizeof slot->u1.Function, PAGE_READWRITE, &access);
            slot->u1.Function = reinterpret_cast<ULONG_PTR>(hook);
            VirtualProtect(&slot->u1.Function, sizeof slot->u1.Function, access, &access);
            ++redirected;
        }
    }
    if (redirected != 2) throw std::runtime_error("allocation watch: qvnMalloc/qvnFree imports not found");
}

const bool g_redirected = (RedirectLibraryImports(), true);

}  // namespace
}  // namespace qvntest

#else  // ELF

#include <dlfcn.h>

extern "C" void* QVNCORE_API qvnMalloc(int32_t byteCount) {
    static const auto real = reinterpret_cast<qvntest::MallocFn>(dlsym(RTLD_NEXT, "qvnMalloc"));
    return qvntest::RecordMalloc(real, byteCount);
}

extern "C" void QVNCORE_API qvnFree(void* block) {
    static const auto real = reinterpret_cast<qvntest::FreeFn>(dlsym(RTLD_NEXT, "qvnFree"));
    qvntest::RecordFree(real, block);
}

#endif
