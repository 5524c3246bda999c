// Straight-line programs as the emitters build them: named instructions with
// their dependencies, a constant table, and the operation census. The final
// order is chosen here, once, for every emitter: instructions follow the order
// in which the algorithm built their values (one sub-transform after another,
// which keeps few values alive at a time), loads and shuffles come right
// before their first use and stores as soon as their value is ready. A body
// that would store before its last load is refused, so every kernel may run
// in place. An emitter may ask for the order in which a core would start the
// instructions instead (Order::kByLatency); the real DFT bodies do.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "twiddle.h"

namespace gen {

struct Census {
    int adds = 0, muls = 0, shuffles = 0, loads = 0, stores = 0;
    std::string Text() const;
};

enum class ElemType { kFloat, kDouble };

// Literal text of a constant: exact hex float plus its decimal value.
std::string HexLiteral(Real v, ElemType type);
std::string DecimalText(Real v, ElemType type);

// Read-only table of lane-by-lane constant vectors, deduplicated.
class ConstTable {
public:
    ConstTable(std::string name, ElemType type, int lanes) : name_(std::move(name)), type_(type), lanes_(lanes) {}
    // Returns the C++ expression that loads the vector.
    std::string Ref(const std::vector<Real>& lanes);
    std::string Definition() const;  // empty when no constant is used
    const std::vector<Real>& Row(int row) const { return rows_.at(row); }
    bool empty() const { return rows_.empty(); }

private:
    std::string name_;
    ElemType type_;
    int lanes_;
    int Bytes() const { return lanes_ * (type_ == ElemType::kFloat ? 4 : 8); }  // 16: SSE, 32: AVX, 64: AVX-512 row
    std::vector<std::vector<Real>> rows_;
    std::map<std::vector<std::string>, int> index_;
};

class Program {
public:
    enum class Kind { kLoad, kCompute, kStore };
    // Adds an instruction `text` (a full statement) that defines nothing or
    // one value, and depends on the instructions `deps`. `position` orders
    // computations (the DAG id of the value); kFollowUsers places it right
    // before its first user. Returns the instruction id.
    static constexpr double kFollowUsers = -1;
    int Add(Kind kind, std::string text, std::vector<int> deps, double position = kFollowUsers);
    // Throws if a store precedes a load, unless the kernel's output never
    // aliases its input (`separate_output`). kByLatency writes the
    // statements in the order a core would start them (see LatencyOrder),
    // keeping at most `registers` values alive where the built order does
    // (0: no limit).
    enum class Order { kAsBuilt, kByLatency };
    std::string Emit(const std::string& indent, bool separate_output = false, Order order = Order::kAsBuilt,
                     int registers = 0) const;
    // Cycles of the longest dependency chain, from each statement's
    // intrinsics and typical x86 latencies (load 5, add 3, multiply 4,
    // conversion 5, shuffle 1, one across 128-bit lanes 3): with the port
    // count, what a body's time on one call is made of.
    int CriticalPath() const;
    Census census;

private:
    static constexpr int kIssueWidth = 4;
    std::vector<std::vector<int>> Users() const;  // the readers of each instruction
    // Instruction ids in the order the algorithm built their values.
    std::vector<int> BuiltOrder() const;
    // The same instructions as a core with kIssueWidth-wide issue would start
    // them, each once its inputs are done (latencies as in CriticalPath), the
    // first in `order` first. Written in the built order, a long chain of
    // products and conversions dispatches far ahead of its inputs and fills
    // the scheduler, so the next sub-transform's independent work waits
    // behind it (llvm-mca: scheduler full in 86% of the cycles of
    // single-precision inverse 40). With `registers` > 0, once that many
    // values are alive only the first instruction in `order` may start a
    // new one: an order free of that limit spills in kernels whose values
    // outnumber the register file, and the spills cost more than the
    // overlap gains.
    std::vector<int> LatencyOrder(const std::vector<int>& order, int registers) const;
    struct Instr {
        Kind kind;
        std::string text;
        std::vector<int> deps;
        double position;
    };
    std::vector<Instr> instrs_;
};

}  // namespace gen
