// An array placed flush against an inaccessible page, so that a kernel that
// reads or writes even one byte outside its data faults at once instead of
// silently touching a neighbour. kAfterEnd puts the guard directly behind the
// last byte (overruns); kBeforeStart puts it directly in front of the first
// byte (underruns), which also makes the array start page aligned.
#pragma once

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX  // keep std::min and std::max usable in the tests
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace qvntest {

class GuardedBuffer {
public:
    enum class Guard { kAfterEnd, kBeforeStart };

    GuardedBuffer(std::size_t bytes, Guard guard) {
        const std::size_t page = PageSize();
        const std::size_t dataPages = (bytes + page - 1) / page;
        length_ = (dataPages + 1) * page;
        base_ = static_cast<unsigned char*>(MapReadWrite(length_));
        unsigned char* guardPage = guard == Guard::kAfterEnd ? base_ + dataPages * page : base_;
        if (!MakeInaccessible(guardPage, page)) {
            Unmap(base_, length_);
            throw std::runtime_error("GuardedBuffer: cannot protect the guard page");
        }
        data_ = guard == Guard::kAfterEnd ? guardPage - bytes : base_ + page;
    }
    ~GuardedBuffer() { Unmap(base_, length_); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    template <class T>
    T* As() const { return reinterpret_cast<T*>(data_); }

private:
#if defined(_WIN32)
    static std::size_t PageSize() {
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        return info.dwPageSize;
    }
    static void* MapReadWrite(std::size_t length) {
        void* p = VirtualAlloc(nullptr, length, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
        if (!p) throw std::runtime_error("GuardedBuffer: VirtualAlloc failed");
        return p;
    }
    static bool MakeInaccessible(void* page, std::size_t length) {
        DWORD old;
        return VirtualProtect(page, length, PAGE_NOACCESS, &old) != 0;
    }
    static void Unmap(void* base, std::size_t) { VirtualFree(base, 0, MEM_RELEASE); }
#else
    static std::size_t PageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
    static void* MapReadWrite(std::size_t length) {
        void* p = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) throw std::runtime_error("GuardedBuffer: mmap failed");
        return p;
    }
    static bool MakeInaccessible(void* page, std::size_t length) {
        return mprotect(page, length, PROT_NONE) == 0;
    }
    static void Unmap(void* base, std::size_t length) { munmap(base, length); }
#endif

    unsigned char* base_ = nullptr;
    unsigned char* data_ = nullptr;
    std::size_t length_ = 0;
};

}  // namespace qvntest
