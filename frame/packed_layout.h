// Where each bin of a real signal's half spectrum lives in the three packed
// layouts. This header is the one description of the layouts: the generator
// uses it to place the stores and loads of the real DFT kernels, the kernels
// use it to address their arrays, and the tests check against it. It needs
// nothing but the compiler, so the generator (a host program) includes it too.
//
// For N points the bins k = 0 .. N/2 (rounded down) are kept:
//   CCS   Re k at 2k, Im k at 2k+1; 2*(N/2)+2 elements. Im 0 and, for even N,
//         Im N/2 have places but are zero by definition.
//   Pack  Re 0, Re 1, Im 1, Re 2, Im 2, ..., and for even N Re N/2 last;
//         N elements.
//   Perm  odd N: as Pack. Even N: Re 0, Re N/2, then Re 1, Im 1, Re 2, ...;
//         N elements, so every (Re k, Im k) pair from element 2 on is
//         aligned to two elements.
#pragma once

namespace qvn {

enum class Layout { kCCS, kPack, kPerm };

constexpr const char* LayoutName(Layout l) {
    return l == Layout::kCCS ? "CCS" : l == Layout::kPack ? "Pack" : "Perm";
}

// Number of elements the layout occupies for N points.
constexpr int PackedCount(Layout l, int n) { return l == Layout::kCCS ? 2 * (n / 2) + 2 : n; }

// True when Im k is zero by definition: bin 0, and bin N/2 of an even N.
constexpr bool ImagIsZero(int n, int k) { return k == 0 || 2 * k == n; }

// Element holding Re k, 0 <= k <= N/2.
constexpr int ReAt(Layout l, int n, int k) {
    if (l == Layout::kCCS || k == 0) return 2 * k;
    if (2 * k == n) return l == Layout::kPack ? n - 1 : 1;
    return l == Layout::kPerm && n % 2 == 0 ? 2 * k : 2 * k - 1;
}

// Element holding Im k, or -1 where the layout keeps no place for it (Im 0
// and Im N/2 in Pack and Perm). Im k always follows Re k directly.
constexpr int ImAt(Layout l, int n, int k) {
    if (l != Layout::kCCS && ImagIsZero(n, k)) return -1;
    return ReAt(l, n, k) + 1;
}

}  // namespace qvn
