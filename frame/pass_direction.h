// Which way a loop pass of the large Walsh-Hadamard orders walks its data.
//
// A pass loads from one array and stores to another at the same offsets,
// iteration by iteration. When the stores of an iteration fall on addresses
// equal modulo 4096 to those the next few iterations load from (another
// page, same offset in it), the core has to hold those loads back until it
// has told the addresses apart; whether that takes long depends on the
// physical pages: on one set of fresh pages in 13 to 20, a 512-point
// transform took 1.7-1.8 times as long. That happens when the destination
// lies a little after the source modulo the period of the pass: 4096 for
// rows, or the stride between the rows a column pass visits when that is
// shorter, since every iteration touches all of them. Walking the
// iterations backward puts those offsets behind the loads, where they do no
// harm; a destination a little before the source wants the forward walk.
// The order of the iterations does not change what any of them computes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvn {

// The element offsets a pass of `count` iterations, `step` elements apart,
// visits, in the order it visits them: Offset(i) for i = 0..count-1.
class PassWalk {
public:
    PassWalk(const void* in, const void* out, std::uintptr_t period, int count, int step) {
        const std::uintptr_t ahead =
            (reinterpret_cast<std::uintptr_t>(out) - reinterpret_cast<std::uintptr_t>(in)) & (period - 1);
        const bool backward = ahead != 0 && ahead < period / 2;
        first_ = backward ? std::ptrdiff_t{step} * (count - 1) : 0;
        step_ = backward ? -step : step;
    }
    // Affine in i, so the compiler keeps it as a pointer increment.
    std::ptrdiff_t Offset(int i) const { return first_ + step_ * i; }

private:
    std::ptrdiff_t first_;
    std::ptrdiff_t step_;
};

}  // namespace qvn
