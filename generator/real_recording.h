// The packed real emitter's program as data (emit_real_sse.cpp records it
// while it writes the two-lane text): one entry per instruction, with what a
// wider emitter needs to put two of them into one instruction of twice the
// width (emit_real_wide.cpp).
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "emit_real.h"
#include "program.h"
#include "twiddle.h"

namespace gen {

// The operation of a two-lane instruction, as far as a wider emitter can
// widen it; kOther is emitted as written.
enum class RealVecOp {
    kOther,
    kCvtWide,    // _mm_cvtps_pd(a)
    kCvtNarrow,  // _mm_cvtpd_ps(a)
    kMul,        // a * {c[0], c[1]} in double
    kMulFloat,   // a * {c[0], c[1]} in float, constants that are floats (exact)
    kAdd,        // a + b
    kSub,        // a - b
    kAddFlip,    // a + (b with the lanes of `neg` negated)
    kShufPd,     // (a[lane[0]], b[lane[1]]), double lanes
    kShufPs,     // (a[lane[0]], a[lane[1]]), float lanes, one source
    kTakePs,     // (a[lane[0]], b[lane[1]]), float lanes, two sources
    kLoadOne,    // input slot lane[0] in lane 0
    kLoadTwo,    // input slots lane[0] and lane[0] + 1, neighbours in memory
    kLoadApart,  // input slots lane[0] and lane[1], from anywhere
    kStoreTwo,   // both lanes, scaled (lanes in `neg` as 0 - s * v), to `element`
};

struct RealVecInstr {
    Program::Kind kind;
    std::string text;           // the two-lane statement (with any comment lines)
    std::string name;           // the value it defines ("" for a store)
    bool wide = false;          // the value is double lanes (a __m128d)
    std::vector<int> operands;  // defining instructions of the values it reads
    double position = Program::kFollowUsers;
    RealVecOp op = RealVecOp::kOther;
    int lane[2] = {0, 0};
    Real c[2] = {0, 0};
    bool neg[2] = {false, false};
    int node[2] = {-1, -1};  // the real DAG values in the two lanes (-1: none or not named)
    std::string element;     // kStoreTwo: the address
    RealCensus census;  // what this instruction adds to the body's census
};

struct RealSseRecording {
    bool single = false;
    std::vector<RealVecInstr> instrs;  // in the order they were made: operands first
    std::vector<std::pair<std::string, std::pair<std::string, std::string>>> prelude;  // name, (type, definition)
    std::function<std::string(int slot)> source;                  // index expression into x
    std::function<bool(int slot, int next_slot)> sources_adjacent;  // as RealKernelInput's
    std::function<bool(int a, int b)> kin;                         // RealDag::Kin
};

}  // namespace gen
