// The baseline library and a variant library (same sources, wider vectors)
// must give the same bits for every export, flag and input. Both are loaded
// into this one process, each into a link-map namespace of its own
// (dlmopen), so neither's symbols can bind to the other's, and every export
// of the naming rule is called in both with the same arguments:
//   test_variant_bits BASE_LIB BASE_CODE VARIANT_LIB VARIANT_CODE
//
// Compared: statuses, the whole destination array (filled with the same
// sentinel beforehand, so a write outside the result shows as well), the
// DCT-IV sizes and plans. Inputs: random values, values spread over the whole
// exponent range (subnormals included), and ones sprinkled with signed zeros,
// infinities and NaNs, at aligned and misaligned addresses.
//
// A NaN is matched by any NaN: which NaN's payload and sign come out of an
// operation on two of them depends on the operand order, which IEEE 754
// leaves open and the compiler may swap. Every other value, -0 and the
// infinities included, must match bit for bit.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "qvngen.h"
#include "same_bits.h"

namespace {

const char* const kExportNames[] = {
#include "export_names.inc"
};

const char* g_paths[2];
const char* g_codes[2];

// One library in its own namespace.
class Library {
public:
    void Open(const char* path) {
        handle_ = dlmopen(LM_ID_NEWLM, path, RTLD_NOW | RTLD_LOCAL);
        if (handle_ == nullptr) {
            std::fprintf(stderr, "dlmopen %s: %s\n", path, dlerror());
            std::exit(1);
        }
    }
    template <class Fn>
    Fn Get(const std::string& name) const {
        void* p = dlsym(handle_, name.c_str());
        if (p == nullptr) ADD_FAILURE() << name << " not found: " << dlerror();
        return reinterpret_cast<Fn>(p);
    }

private:
    void* handle_ = nullptr;
};

Library g_libs[2];  // [0] baseline, [1] variant

// What an export takes and returns, from its name.
enum class Kind { kVersion, kFixed, kLengthArg, kWhtFixed, kWhtGeneric, kWhtBufferSize, kDct4, kUnknown };

Kind Classify(const std::string& name) {
    static const std::regex fixed("qvng(DFT(Fwd|Inv)_\\w+|Hartley)_[0-9]+_(32|64)fc?");
    static const std::regex generic("qvng(DFT(Fwd|Inv)_\\w+|Hartley)_(32|64)fc?");
    static const std::regex whtFixed("qvngWHT_[0-9]+_(32|64)f");
    static const std::regex whtGeneric("qvngWHT_(32|64)f");
    if (name == "qvngenGetLibVersion") return Kind::kVersion;
    if (name.rfind("qvngDCT4", 0) == 0) return Kind::kDct4;
    if (name.rfind("qvngWHTGetBufferSize_", 0) == 0) return Kind::kWhtBufferSize;
    if (std::regex_match(name, whtFixed)) return Kind::kWhtFixed;
    if (std::regex_match(name, whtGeneric)) return Kind::kWhtGeneric;
    if (std::regex_match(name, fixed)) return Kind::kFixed;
    if (std::regex_match(name, generic)) return Kind::kLengthArg;
    return Kind::kUnknown;
}

std::vector<std::string> NamesOf(Kind kind) {
    std::vector<std::string> out;
    for (const char* n : kExportNames)
        if (Classify(n) == kind) out.push_back(n);
    return out;
}

bool IsDouble(const std::string& name) { return name.find("_64f") != std::string::npos; }

// Flags in the order the entries test them, then one that is none of them.
const ScaleFlag kFlags[] = {kScaleNone, kScaleBySqrtN, kScaleFwdByN, kScaleInvByN, 3};

// got and want hold the same values: equal bits, or both NaN.
template <class Real>
testing::AssertionResult SameValues(const Real* got, const Real* want, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        if (std::isnan(got[i]) && std::isnan(want[i])) continue;
        if (qvntest::Bits(got[i]) != qvntest::Bits(want[i]))
            return testing::AssertionFailure() << "first difference at [" << i << "]: variant "
                                               << qvntest::Hex(got[i]) << ", baseline " << qvntest::Hex(want[i]);
    }
    return testing::AssertionSuccess();
}

enum class Input { kRandom, kWideRange, kSpecials };
const Input kInputs[] = {Input::kRandom, Input::kWideRange, Input::kSpecials};
const char* InputName(Input in) {
    return in == Input::kRandom ? "random" : in == Input::kWideRange ? "wide range" : "specials";
}

template <class Real>
void Fill(std::vector<Real>& v, Input kind, std::uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    const int minExp = sizeof(Real) == 4 ? -150 : -1075;  // reaches the subnormals
    const int maxExp = sizeof(Real) == 4 ? 120 : 1015;
    std::uniform_int_distribution<int> exponent(minExp, maxExp);
    std::uniform_int_distribution<int> pick(0, 15);
    const Real specials[] = {Real(0), -Real(0), INFINITY, -INFINITY, NAN, -NAN};
    for (Real& x : v) {
        x = static_cast<Real>(unit(rng));
        if (kind == Input::kWideRange) x = static_cast<Real>(std::ldexp(unit(rng), exponent(rng)));
        // About one value in eight is special, so most outputs stay finite
        // and the specials' own paths through the kernels are seen.
        if (kind == Input::kSpecials && pick(rng) < 2) x = specials[pick(rng) % 6];
    }
}

// Destination arrays start as this in both runs.
template <class Real>
Real Sentinel() {
    return static_cast<Real>(-1234.5);
}

// Calls `call(lib, src, dst)` in both libraries with a copy of `input` at
// `offset` elements into 64-byte aligned memory, and compares statuses and
// `dstLen` elements of destination.
template <class Real, class Call>
void RunBoth(const std::string& what, const std::vector<Real>& input, size_t dstLen, size_t offset,
             Call call) {
    Real* src[2];
    Real* dst[2];
    void* blocks[4];
    const size_t srcBytes = (input.size() + offset + 16) * sizeof(Real);
    const size_t dstBytes = (dstLen + offset + 16) * sizeof(Real);
    for (int l = 0; l < 2; ++l) {
        blocks[2 * l] = std::aligned_alloc(64, (srcBytes + 63) / 64 * 64);
        blocks[2 * l + 1] = std::aligned_alloc(64, (dstBytes + 63) / 64 * 64);
        src[l] = static_cast<Real*>(blocks[2 * l]) + offset;
        dst[l] = static_cast<Real*>(blocks[2 * l + 1]) + offset;
        std::memcpy(src[l], input.data(), input.size() * sizeof(Real));
        for (size_t i = 0; i < dstLen; ++i) dst[l][i] = Sentinel<Real>();
    }
    const Status base = call(g_libs[0], src[0], dst[0]);
    const Status variant = call(g_libs[1], src[1], dst[1]);
    EXPECT_EQ(variant, base) << what;
    EXPECT_TRUE(SameValues(dst[1], dst[0], dstLen)) << what;
    for (void* b : blocks) std::free(b);
}

// Longest source or destination of a DFT or Hartley entry: the complex
// length 64 and the CCS layout of 64 reals.
constexpr size_t kDftElems = 2 * 64 + 2;

template <class Real>
void CheckFixed(const std::string& name) {
    using Fn = Status(QVN_API*)(const Real*, Real*, ScaleFlag);
    Fn fn[2] = {g_libs[0].Get<Fn>(name), g_libs[1].Get<Fn>(name)};
    ASSERT_TRUE(fn[0] && fn[1]);
    std::vector<Real> input(kDftElems);
    for (Input in : kInputs) {
        Fill(input, in, std::hash<std::string>()(name) + static_cast<int>(in));
        for (ScaleFlag flag : kFlags)
            for (size_t offset : {0, 1}) {
                const std::string what = name + " " + InputName(in) + " flag " + std::to_string(flag) +
                                         (offset ? " misaligned" : "");
                RunBoth<Real>(what, input, kDftElems, offset, [&](const Library& lib, const Real* s, Real* d) {
                    return fn[&lib - g_libs](s, d, flag);
                });
            }
    }
}

TEST(VariantBits, ReportsItsOwnCode) {
    using Fn = const LibraryVersion*(QVN_API*)();
    const LibraryVersion* v[2];
    for (int l = 0; l < 2; ++l) {
        v[l] = g_libs[l].Get<Fn>("qvngenGetLibVersion")();
        EXPECT_STREQ(v[l]->targetCpu, g_codes[l]) << g_paths[l];
    }
    EXPECT_EQ(v[1]->major, v[0]->major);
    EXPECT_EQ(v[1]->minor, v[0]->minor);
    EXPECT_EQ(v[1]->majorBuild, v[0]->majorBuild);
    EXPECT_EQ(v[1]->build, v[0]->build);
    EXPECT_STREQ(v[1]->name, v[0]->name);
    EXPECT_STREQ(v[1]->version, v[0]->version);
    EXPECT_STREQ(v[1]->buildDate, v[0]->buildDate);
}

// Every name of the naming rule is called by one of the tests below.
TEST(VariantBits, EveryExportIsCovered) {
    for (const char* n : kExportNames) EXPECT_NE(Classify(n), Kind::kUnknown) << n;
}

// Complex DFT, real DFT forward and inverse in the three layouts, Hartley.
TEST(VariantBits, FixedLengthEntries) {
    const auto names = NamesOf(Kind::kFixed);
    EXPECT_EQ(names.size(), 4u * 63 + 14u * 63);
    for (const std::string& name : names) {
        if (IsDouble(name)) CheckFixed<double>(name);
        else CheckFixed<float>(name);
    }
}

// The generic entries forward to the fixed ones; lengths outside 2..64 too.
template <class Real>
void CheckLengthArg(const std::string& name) {
    using Fn = Status(QVN_API*)(const Real*, Real*, int32_t, ScaleFlag);
    Fn fn[2] = {g_libs[0].Get<Fn>(name), g_libs[1].Get<Fn>(name)};
    ASSERT_TRUE(fn[0] && fn[1]);
    std::vector<Real> input(kDftElems);
    Fill(input, Input::kRandom, std::hash<std::string>()(name));
    for (int32_t n : {-1, 0, 1, 2, 3, 16, 31, 48, 64, 65, 1 << 30})
        for (ScaleFlag flag : kFlags)
            RunBoth<Real>(name + " N=" + std::to_string(n) + " flag " + std::to_string(flag), input, kDftElems,
                          1, [&](const Library& lib, const Real* s, Real* d) {
                              return fn[&lib - g_libs](s, d, n, flag);
                          });
}

TEST(VariantBits, LengthDispatchers) {
    const auto names = NamesOf(Kind::kLengthArg);
    EXPECT_EQ(names.size(), 4u + 14u);
    for (const std::string& name : names) {
        if (IsDouble(name)) CheckLengthArg<double>(name);
        else CheckLengthArg<float>(name);
    }
}

template <class Real>
std::string Suffix() {
    return sizeof(Real) == 4 ? "_32f" : "_64f";
}

// Fixed orders with a caller's buffer and with none (orders 8 to 13 then
// take one from qvnMalloc), and the generic entry over every order.
template <class Real>
void CheckWht() {
    using GetSize = Status(QVN_API*)(int32_t, int32_t*);
    using Fixed = Status(QVN_API*)(const Real*, Real*, ScaleFlag, uint8_t*);
    using Generic = Status(QVN_API*)(const Real*, Real*, int32_t, ScaleFlag, uint8_t*);
    const std::string suffix = Suffix<Real>();
    Generic generic[2];
    for (int l = 0; l < 2; ++l) generic[l] = g_libs[l].Get<Generic>("qvngWHT" + suffix);
    for (int order = 0; order <= 14; ++order) {
        int32_t size[2] = {-7, -7};
        Status st[2];
        for (int l = 0; l < 2; ++l)
            st[l] = g_libs[l].Get<GetSize>("qvngWHTGetBufferSize" + suffix)(order, &size[l]);
        EXPECT_EQ(st[1], st[0]) << "buffer size, order " << order;
        EXPECT_EQ(size[1], size[0]) << "buffer size, order " << order;
        const size_t len = size_t{1} << std::min(order, 13);
        std::vector<uint8_t> buffers[2];
        for (int l = 0; l < 2; ++l) buffers[l].resize(st[0] == kStatusOk ? size[0] + 64 : 0);
        Fixed fixed[2] = {nullptr, nullptr};
        if (order >= 1 && order <= 13)
            for (int l = 0; l < 2; ++l)
                fixed[l] = g_libs[l].Get<Fixed>("qvngWHT_" + std::to_string(order) + suffix);
        std::vector<Real> input(len);
        for (Input in : kInputs) {
            Fill(input, in, 1000 * order + static_cast<int>(in));
            for (ScaleFlag flag : kFlags) {
                const std::string what = "order " + std::to_string(order) + suffix + " " + InputName(in) +
                                         " flag " + std::to_string(flag);
                auto buf = [&](const Library& lib) {
                    auto& b = buffers[&lib - g_libs];
                    return b.empty() ? nullptr : b.data();
                };
                RunBoth<Real>("generic " + what, input, len, 0, [&](const Library& lib, const Real* s, Real* d) {
                    return generic[&lib - g_libs](s, d, order, flag, buf(lib));
                });
                if (fixed[0] == nullptr) continue;
                RunBoth<Real>(what, input, len, 1, [&](const Library& lib, const Real* s, Real* d) {
                    return fixed[&lib - g_libs](s, d, flag, buf(lib));
                });
                RunBoth<Real>(what + " no buffer", input, len, 0, [&](const Library& lib, const Real* s, Real* d) {
                    return fixed[&lib - g_libs](s, d, flag, nullptr);
                });
            }
        }
    }
}

TEST(VariantBits, Wht) {
    EXPECT_EQ(NamesOf(Kind::kWhtFixed).size(), 26u);
    EXPECT_EQ(NamesOf(Kind::kWhtGeneric).size(), 2u);
    EXPECT_EQ(NamesOf(Kind::kWhtBufferSize).size(), 2u);
    CheckWht<float>();
    CheckWht<double>();
}

// DCT-IV: sizes, plans built by Init in a caller block and by InitAlloc, and
// the transform run through both.
std::vector<int32_t> Dct4Lengths() {
    std::vector<int32_t> n = {-4, 0, 1, 3, 17, 6};
    for (int32_t p = 2; p <= 65536; p *= 2) n.push_back(p);
    return n;
}

template <class Real>
struct Dct4Api {
    using GetSize = Status(QVN_API*)(int32_t, int32_t*);
    using Init = Status(QVN_API*)(DCT4Spec**, int32_t, uint8_t*);
    using InitAlloc = Status(QVN_API*)(DCT4Spec**, int32_t);
    using Free = Status(QVN_API*)(DCT4Spec*);
    using Run = Status(QVN_API*)(const Real*, Real*, DCT4Spec*);
    GetSize getSize;
    Init init;
    InitAlloc initAlloc;
    Free free;
    Run run;

    explicit Dct4Api(const Library& lib) {
        const std::string s = Suffix<Real>();
        getSize = lib.Get<GetSize>("qvngDCT4GetSize" + s);
        init = lib.Get<Init>("qvngDCT4Init" + s);
        initAlloc = lib.Get<InitAlloc>("qvngDCT4InitAlloc" + s);
        free = lib.Get<Free>("qvngDCT4Free" + s);
        run = lib.Get<Run>("qvngDCT4" + s);
    }
};

// A caller's block for Init: 64-byte aligned, the predicted size.
struct Block {
    explicit Block(int32_t size) : p(static_cast<uint8_t*>(std::aligned_alloc(64, (size + 63) / 64 * 64))) {
        std::memset(p, 0xa5, size);
    }
    ~Block() { std::free(p); }
    uint8_t* p;
};

template <class Real>
void CheckDct4() {
    const Dct4Api<Real> api[2] = {Dct4Api<Real>(g_libs[0]), Dct4Api<Real>(g_libs[1])};
    for (int32_t n : Dct4Lengths()) {
        const std::string what = "DCT-IV" + Suffix<Real>() + " N=" + std::to_string(n);
        int32_t size[2] = {-7, -7};
        Status st[2];
        for (int l = 0; l < 2; ++l) st[l] = api[l].getSize(n, &size[l]);
        EXPECT_EQ(st[1], st[0]) << what;
        EXPECT_EQ(size[1], size[0]) << what;
        if (st[0] != kStatusOk) continue;

        Block block0(size[0]), block1(size[0]);
        Block* blocks[2] = {&block0, &block1};
        DCT4Spec* spec[2] = {nullptr, nullptr};
        for (int l = 0; l < 2; ++l) st[l] = api[l].init(&spec[l], n, blocks[l]->p);
        ASSERT_EQ(st[1], st[0]) << what << " Init";
        DCT4Spec* allocated[2] = {nullptr, nullptr};
        Status sta[2];
        for (int l = 0; l < 2; ++l) sta[l] = api[l].initAlloc(&allocated[l], n);
        ASSERT_EQ(sta[1], sta[0]) << what << " InitAlloc";
        if (st[0] == kStatusOk) {
            // Both plans lie at the same offset in their blocks.
            EXPECT_EQ(reinterpret_cast<uint8_t*>(spec[1]) - block1.p, reinterpret_cast<uint8_t*>(spec[0]) - block0.p)
                << what;
            std::vector<Real> input(n);
            for (Input in : kInputs) {
                Fill(input, in, n + 77 * static_cast<int>(in));
                // The Init plan on aligned data, the InitAlloc one on misaligned.
                for (int which = 0; which < 2; ++which) {
                    DCT4Spec* const* s = which == 0 ? spec : allocated;
                    if (s[0] == nullptr) continue;
                    RunBoth<Real>(what + " " + InputName(in) + (which ? " InitAlloc" : " Init"), input, n,
                                  which, [&](const Library& lib, const Real* src, Real* dst) {
                                      const int l = static_cast<int>(&lib - g_libs);
                                      return api[l].run(src, dst, s[l]);
                                  });
                }
            }
        }
        for (int l = 0; l < 2; ++l)
            if (sta[l] == kStatusOk) EXPECT_EQ(api[l].free(allocated[l]), kStatusOk) << what;
    }
}

TEST(VariantBits, Dct4) {
    EXPECT_EQ(NamesOf(Kind::kDct4).size(), 10u);
    CheckDct4<float>();
    CheckDct4<double>();
}

// Init builds the same plan in both: the blocks hold the same bytes, except
// for the arena's first word, the address of its next free byte, which is
// compared as an offset into the block.
template <class Real>
void CheckDct4Plans() {
    const Dct4Api<Real> api[2] = {Dct4Api<Real>(g_libs[0]), Dct4Api<Real>(g_libs[1])};
    for (int32_t n = 2; n <= 65536; n *= 2) {
        int32_t size = 0;
        ASSERT_EQ(api[0].getSize(n, &size), kStatusOk);
        Block block0(size), block1(size);
        Block* blocks[2] = {&block0, &block1};
        DCT4Spec* spec[2];
        for (int l = 0; l < 2; ++l) ASSERT_EQ(api[l].init(&spec[l], n, blocks[l]->p), kStatusOk);
        uintptr_t next[2];
        for (int l = 0; l < 2; ++l) {
            std::memcpy(&next[l], blocks[l]->p, sizeof next[l]);
            next[l] -= reinterpret_cast<uintptr_t>(blocks[l]->p);
        }
        EXPECT_EQ(next[1], next[0]) << "N=" << n;
        const size_t skip = sizeof(uintptr_t);
        EXPECT_EQ(std::memcmp(block1.p + skip, block0.p + skip, size - skip), 0)
            << "DCT-IV" << Suffix<Real>() << " N=" << n << ": the plans differ";
    }
}

TEST(VariantBits, Dct4PlansAreTheSame) {
    CheckDct4Plans<float>();
    CheckDct4Plans<double>();
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 5) {
        std::fprintf(stderr, "usage: test_variant_bits BASE_LIB BASE_CODE VARIANT_LIB VARIANT_CODE\n");
        return 2;
    }
    for (int l = 0; l < 2; ++l) {
        g_paths[l] = argv[1 + 2 * l];
        g_codes[l] = argv[2 + 2 * l];
        g_libs[l].Open(g_paths[l]);
    }
    return RUN_ALL_TESTS();
}
