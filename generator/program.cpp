#include "program.h"

#include <cstdio>
#include <limits>
#include <set>
#include <stdexcept>

namespace gen {

std::string Census::Text() const {
    return std::to_string(adds) + " add, " + std::to_string(muls) + " mul, " + std::to_string(shuffles) +
           " shuffle, " + std::to_string(loads) + " load, " + std::to_string(stores) + " store";
}

std::string HexLiteral(Real v, ElemType type) {
    char buf[64];
    if (type == ElemType::kFloat) {
        std::snprintf(buf, sizeof buf, "%af", static_cast<double>(static_cast<float>(v)));
    } else {
        std::snprintf(buf, sizeof buf, "%a", static_cast<double>(v));
    }
    return buf;
}

std::string DecimalText(Real v, ElemType type) {
    char buf[64];
    if (type == ElemType::kFloat) {
        std::snprintf(buf, sizeof buf, "%.9g", static_cast<double>(static_cast<float>(v)));
    } else {
        std::snprintf(buf, sizeof buf, "%.17g", static_cast<double>(v));
    }
    return buf;
}

std::string ConstTable::Ref(const std::vector<Real>& lanes) {
    std::vector<std::string> key;
    for (Real v : lanes) key.push_back(HexLiteral(v, type_));
    auto it = index_.find(key);
    int row;
    if (it != index_.end()) {
        row = it->second;
    } else {
        row = static_cast<int>(rows_.size());
        rows_.push_back(lanes);
        index_.emplace(key, row);
    }
    const char* width = Bytes() == 64 ? "_mm512" : Bytes() == 32 ? "_mm256" : "_mm";
    const char* load = type_ == ElemType::kFloat ? "_load_ps" : "_load_pd";
    return std::string(width) + load + "(" + name_ + "[" + std::to_string(row) + "])";
}

std::string ConstTable::Definition() const {
    if (rows_.empty()) return "";
    const char* elem = type_ == ElemType::kFloat ? "float" : "double";
    std::string out = "alignas(" + std::to_string(Bytes()) + ")" + " const " + std::string(elem) + " " + name_ + "[][" + std::to_string(lanes_) + "] = {\n";
    for (const auto& row : rows_) {
        std::string lits, decs;
        for (size_t i = 0; i < row.size(); ++i) {
            lits += (i ? ", " : "") + HexLiteral(row[i], type_);
            decs += (i ? ", " : "") + DecimalText(row[i], type_);
        }
        out += "    {" + lits + "},  // " + decs + "\n";
    }
    return out + "};\n";
}

int Program::Add(Kind kind, std::string text, std::vector<int> deps, double position) {
    instrs_.push_back(Instr{kind, std::move(text), std::move(deps), position});
    return static_cast<int>(instrs_.size()) - 1;
}

namespace {

// Latency of one statement: its intrinsics in a row (a nested xor before an
// add counts both). Constant loads inside a computation are off the chain.
// Conversions as measured on Zen 4 in dependent chains: 3 cycles each way
// in 128 bits, but 4 to widen into and 6 to narrow out of 256 bits, which
// is what makes a 256-bit product route slower than two 128-bit ones when
// the chain, not the ports, bounds a kernel.
int StatementLatency(const std::string& text, Program::Kind kind) {
    static const std::vector<std::pair<const char*, int>> kLatency = {
        {"_mm_cvtps_pd", 3}, {"_mm_cvtpd_ps", 3}, {"_mm256_cvtps_pd", 4}, {"_mm256_cvtpd_ps", 6},
        {"_mul_", 4}, {"_add_", 3}, {"_sub_", 3},
        {"extractf128", 3}, {"set_m128", 3}, {"insertf128", 3}, {"permute2f128", 3}, {"permutex2var", 3},
        {"xor_", 1}, {"blend_", 1}, {"shuffle_", 1}, {"permute_", 1}, {"unpack", 1}, {"move", 1}, {"insert_ps", 1},
        {"TakeLanes", 2}, {"Gather", 2},
    };
    int total = kind == Program::Kind::kLoad ? 5 : 0;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        if (line.compare(0, 2, "//") == 0) continue;
        for (const auto& [name, cycles] : kLatency)
            for (size_t at = line.find(name); at != std::string::npos; at = line.find(name, at + 1)) total += cycles;
    }
    return total;
}

}  // namespace

std::vector<std::vector<int>> Program::Users() const {
    std::vector<std::vector<int>> users(instrs_.size());
    for (size_t i = 0; i < instrs_.size(); ++i)
        for (int d : instrs_[i].deps) users[d].push_back(static_cast<int>(i));
    return users;
}

std::vector<int> Program::BuiltOrder() const {
    const int count = static_cast<int>(instrs_.size());
    // Positions: stores go first among the ready instructions; loads and
    // shuffles inherit the earliest position of their users.
    std::vector<double> pos(count);
    const std::vector<std::vector<int>> users = Users();
    for (int i = count - 1; i >= 0; --i) {
        if (instrs_[i].kind == Kind::kStore) {
            pos[i] = -std::numeric_limits<double>::infinity();
        } else if (instrs_[i].position != kFollowUsers) {
            pos[i] = instrs_[i].position;
        } else {
            pos[i] = std::numeric_limits<double>::infinity();
            for (int u : users[i]) pos[i] = std::min(pos[i], pos[u]);
        }
    }
    // List scheduling: among the instructions whose inputs are ready, take
    // the one with the smallest position.
    std::vector<int> pending(count);
    std::set<std::pair<double, int>> ready;
    for (int i = 0; i < count; ++i) {
        pending[i] = static_cast<int>(instrs_[i].deps.size());
        if (pending[i] == 0) ready.insert({pos[i], i});
    }
    std::vector<int> order;
    while (!ready.empty()) {
        int id = ready.begin()->second;
        ready.erase(ready.begin());
        order.push_back(id);
        for (int u : users[id])
            if (--pending[u] == 0) ready.insert({pos[u], u});
    }
    return order;
}

std::vector<int> Program::LatencyOrder(const std::vector<int>& order, int registers) const {
    const int count = static_cast<int>(instrs_.size());
    std::vector<int> rank(count);
    for (int r = 0; r < count; ++r) rank[order[r]] = r;
    const std::vector<std::vector<int>> users = Users();
    // The operands each instruction reads, and how many readers of each value
    // are still to come. A store that depends on a load only waits for it
    // (the in-place rule); it does not read it.
    std::vector<std::vector<int>> reads(count);
    std::vector<int> unread(count, 0);
    for (int i = 0; i < count; ++i)
        for (int d : std::set<int>(instrs_[i].deps.begin(), instrs_[i].deps.end()))
            if (instrs_[d].kind != Kind::kLoad || instrs_[i].kind != Kind::kStore) {
                reads[i].push_back(d);
                ++unread[d];
            }
    // Values alive after `id` starts, minus those alive before.
    auto growth = [&](int id) {
        int g = instrs_[id].kind != Kind::kStore && unread[id] > 0 ? 1 : 0;
        for (int d : reads[id]) g -= unread[d] == 1;
        return g;
    };
    int live = 0;
    std::vector<int> pending(count), ready_at(count, 0);
    std::set<int> waiting;  // ranks of the instructions whose inputs are all placed
    for (int i = 0; i < count; ++i) {
        pending[i] = static_cast<int>(instrs_[i].deps.size());
        if (pending[i] == 0) waiting.insert(rank[i]);
    }
    std::vector<int> out;
    int cycle = 0;
    while (!waiting.empty()) {
        // This cycle: up to kIssueWidth instructions whose inputs are done,
        // first in the built order first. With every register taken, only
        // the first in the built order may add a value.
        int issued = 0;
        int next_ready = std::numeric_limits<int>::max();
        for (auto it = waiting.begin(); it != waiting.end() && issued < kIssueWidth;) {
            const int id = order[*it];
            if (ready_at[id] > cycle) {
                next_ready = std::min(next_ready, ready_at[id]);
                ++it;
                continue;
            }
            const int grows = growth(id);
            if (registers > 0 && grows > 0 && live + grows > registers && it != waiting.begin()) {
                ++it;
                continue;
            }
            live += grows;
            for (int d : reads[id]) --unread[d];
            out.push_back(id);
            it = waiting.erase(it);
            ++issued;
            const int done = cycle + StatementLatency(instrs_[id].text, instrs_[id].kind);
            for (int u : users[id]) {
                ready_at[u] = std::max(ready_at[u], done);
                if (--pending[u] == 0) waiting.insert(rank[u]);
            }
        }
        // Nothing could start: skip to the cycle the next input is done.
        cycle = issued ? cycle + 1 : next_ready;
    }
    return out;
}

std::string Program::Emit(const std::string& indent, bool separate_output, Order order, int registers) const {
    std::vector<int> ids = BuiltOrder();
    if (order == Order::kByLatency) ids = LatencyOrder(ids, registers);
    bool stored = false;
    std::string out;
    for (int id : ids) {
        const Instr& in = instrs_[id];
        if (in.kind == Kind::kStore) stored = true;
        // In-place safety: the destination may be the source.
        if (in.kind == Kind::kLoad && stored && !separate_output)
            throw std::runtime_error("refusing to emit a body that stores before its last load");
        size_t start = 0;  // the text may carry comment lines before the statement
        while (start < in.text.size()) {
            size_t end = in.text.find('\n', start);
            if (end == std::string::npos) end = in.text.size();
            out += indent + in.text.substr(start, end - start) + "\n";
            start = end + 1;
        }
    }
    return out;
}


int Program::CriticalPath() const {
    std::vector<int> ready(instrs_.size(), 0);
    int longest = 0;
    for (size_t i = 0; i < instrs_.size(); ++i) {
        int start = 0;
        for (int d : instrs_[i].deps)
            if (instrs_[d].kind != Kind::kLoad || instrs_[i].kind != Kind::kStore) start = std::max(start, ready[d]);
        ready[i] = start + StatementLatency(instrs_[i].text, instrs_[i].kind);
        longest = std::max(longest, ready[i]);
    }
    return longest;
}

}  // namespace gen
