// An array placed flush against an inaccessible page, so that a kernel that
// reads or writes even one byte outside its data faults at once instead of
// silently touching a neighbour. kAfterEnd puts the guard directly behind the
// last byte (overruns); kBeforeStart puts it directly in front of the first
// byte (underruns), which also makes the array start page aligned.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace qvntest {

class GuardedBuffer {
public:
    enum class Guard { kAfterEnd, kBeforeStart };

    GuardedBuffer(std::size_t bytes, Guard guard) {
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t dataPages = (bytes + page - 1) / page;
        length_ = (dataPages + 1) * page;
        void* base = mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED) throw std::runtime_error("GuardedBuffer: mmap failed");
        base_ = static_cast<unsigned char*>(base);
        unsigned char* guardPage = guard == Guard::kAfterEnd ? base_ + dataPages * page : base_;
        if (mprotect(guardPage, page, PROT_NONE) != 0) {
            munmap(base_, length_);
            throw std::runtime_error("GuardedBuffer: mprotect failed");
        }
        data_ = guard == Guard::kAfterEnd ? guardPage - bytes : base_ + page;
    }
    ~GuardedBuffer() { munmap(base_, length_); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    template <class T>
    T* As() const { return reinterpret_cast<T*>(data_); }

private:
    unsigned char* base_ = nullptr;
    unsigned char* data_ = nullptr;
    std::size_t length_ = 0;
};

}  // namespace qvntest
