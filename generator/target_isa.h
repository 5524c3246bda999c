// The instruction set a generated kernel file is written for. Every library
// build runs the same DAGs; the target only decides how wide the emitters
// make their vectors (and so which intrinsics the files use):
//   x86-64      SSE2, 128-bit vectors: the baseline library;
//   x86-64-v3   AVX2, 256-bit vectors (no FMA: every result stays the
//               baseline's bit for bit);
//   x86-64-v4   AVX-512F/BW/CD/DQ/VL, 512-bit vectors, 32 registers.
#pragma once

#include <stdexcept>
#include <string>

namespace gen {

enum class Isa { kX86_64, kX86_64_v3, kX86_64_v4 };

inline const char* IsaName(Isa isa) {
    switch (isa) {
        case Isa::kX86_64_v3: return "x86-64-v3";
        case Isa::kX86_64_v4: return "x86-64-v4";
        default: return "x86-64";
    }
}

inline Isa ParseIsa(const std::string& name) {
    for (Isa isa : {Isa::kX86_64, Isa::kX86_64_v3, Isa::kX86_64_v4})
        if (name == IsaName(isa)) return isa;
    throw std::runtime_error("unknown instruction set '" + name + "' (x86-64, x86-64-v3 or x86-64-v4)");
}

// Widest vector the target's kernels may use, in bits.
inline int VectorBits(Isa isa) {
    return isa == Isa::kX86_64_v4 ? 512 : isa == Isa::kX86_64_v3 ? 256 : 128;
}

// Vector registers of the target: AVX-512 doubles the file to 32.
inline int VectorRegisters(Isa isa) { return isa == Isa::kX86_64_v4 ? 32 : 16; }

// Registers a kernel's own values may take: the scale, the sign masks and a
// constant or two stay in registers throughout the body, so four of the
// file are theirs.
inline int BodyRegisters(Isa isa) { return VectorRegisters(isa) - 4; }

}  // namespace gen
