// Vector shapes of the complex DFT emitters that pack several complex values
// into one register: the register type, how many complex values ("slots") it
// holds, and the intrinsic text of every operation the emitters use. The
// emitters plan which DAG nodes share a register from the slot count alone;
// a shape only turns the plan into intrinsics, so a wider register is a new
// shape plus its shuffles.
//
// Lanes are numbered from the low end; complex value s of a register sits in
// lanes 2s (real part) and 2s + 1 (imaginary part).
#pragma once

#include <string>
#include <vector>

#include "program.h"

namespace gen {

class VectorShape {
public:
    virtual ~VectorShape() = default;
    virtual ElemType Elem() const = 0;
    virtual int Slots() const = 0;              // complex values per register
    virtual std::string Type() const = 0;       // __m128, __m256d, ...
    virtual std::string Op(const char* name) const = 0;  // "add" -> _mm_add_ps
    virtual std::string Broadcast(const std::string& scalar) const { return Op("set1") + "(" + scalar + ")"; }
    // Real and imaginary parts swapped in every slot.
    virtual std::string SwapParts(const std::string& x) const = 0;
    // Sign mask: xor flips the sign of the lanes marked true (2 * Slots() lanes).
    virtual std::string SignMask(const std::vector<bool>& lanes) const = 0;

    std::string Call(const char* name, const std::string& a, const std::string& b) const {
        return Op(name) + "(" + a + ", " + b + ")";
    }
};

// Shapes with two slots ("halves"): the pair emitter's registers.
class PairShape : public VectorShape {
public:
    int Slots() const override { return 2; }
    // Half h1 of v1 in the low half, half h2 of v2 in the high half.
    virtual std::string Combine(const std::string& v1, int h1, const std::string& v2, int h2) const = 0;
    // The halves of x exchanged.
    virtual std::string SwapHalves(const std::string& x) const = 0;
    // One complex value from memory into the low half (the high half zero),
    // and one half stored as one complex value.
    virtual std::string LoadLow(const std::string& address) const = 0;
    virtual std::string StoreHalf(int half, const std::string& address, const std::string& value) const = 0;
    // Whether sibling sub-transforms whose node sequences differ only in add
    // against subtract still run side by side (the mixed pairs cost a sign
    // flip each, less than the transposes they save).
    virtual bool LooseTwins() const { return false; }
    // Whether inputs are loaded where they are needed, any two complex
    // values straight into the two halves, and outputs stored half by half,
    // instead of shuffling whole-register loads and stores into place (worth
    // it where a half-register load or store costs no shuffle port).
    virtual bool DirectHalves() const { return false; }
    virtual std::string LoadPair(const std::string&, const std::string&) const { return ""; }
    virtual std::string LoadBoth(const std::string&) const { return ""; }  // one value in both halves
};

// Shapes with four slots in two halves (slots 0, 1 low; 2, 3 high): the quad
// emitter's registers.
class QuadShape : public VectorShape {
public:
    int Slots() const override { return 4; }
    // Half h1 of v1 in the low half, half h2 of v2 in the high half.
    virtual std::string CombineHalves(const std::string& v1, int h1, const std::string& v2, int h2) const = 0;
    // Within each half: slot i of the half from a, then slot j of the half from b.
    virtual std::string ShuffleInHalves(const std::string& a, int i, const std::string& b, int j) const = 0;
    // Any rearrangement of one register: result slot s = slot from[s] of x.
    virtual std::string Permute(const std::string& x, const std::vector<int>& from) const = 0;
    // Slots marked true from b, the others from a.
    virtual std::string Blend(const std::string& a, const std::string& b, const std::vector<bool>& from_b) const = 0;
    // `count` (1..Slots()) consecutive complex values to or from the low slots
    // (the others zero on a load).
    virtual std::string LoadLow(const std::string& address, int count) const = 0;
    virtual std::string StoreLow(const std::string& address, int count, const std::string& value) const = 0;
    // Whether operations can be masked per slot (AVX-512): then values of one
    // register multiplied by different kinds of constant share a register.
    virtual bool MaskedOps() const { return false; }
    // `name` ("mul", "add", "xor") of a and b in the slots marked true, the
    // other slots from src.
    virtual std::string MaskedCall(const char*, const std::string&, const std::vector<bool>&, const std::string&,
                                   const std::string&) const {
        return "";
    }
};

// SSE2, single precision: two complex floats per __m128.
const PairShape& SsePairFloat();
// AVX, double precision: two complex doubles per __m256d (the 128-bit halves
// play the part of the 64-bit halves of SsePairFloat).
const PairShape& AvxPairDouble();
// AVX, single precision: four complex floats per __m256.
const QuadShape& AvxQuadFloat();
// The same on an AVX-512 target, where operations can be masked per slot.
const QuadShape& AvxQuadFloatMasked();

// AVX, single precision: the two-per-__m128 kernel with pairs of its
// instructions that do the same work on sibling data fused into one __m256
// instruction, one per 128-bit half (even N; throws for kernels it cannot
// fuse).
struct KernelInput;
struct KernelText;
KernelText EmitTwinHalves(const KernelInput& in);
// AVX, single precision: the two-per-__m128 kernel with its products with
// constants formed in double precision (__m256d), bit for bit the scalar
// kernel that forms them so.
KernelText EmitSsePairedDoubleProducts(const KernelInput& in);

}  // namespace gen
