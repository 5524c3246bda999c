#include "program.h"

#include <cstdio>
#include <functional>
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
    const char* load = type_ == ElemType::kFloat ? "_mm_load_ps" : "_mm_load_pd";
    return std::string(load) + "(" + name_ + "[" + std::to_string(row) + "])";
}

std::string ConstTable::Definition() const {
    if (rows_.empty()) return "";
    const char* elem = type_ == ElemType::kFloat ? "float" : "double";
    std::string out = "alignas(16) const " + std::string(elem) + " " + name_ + "[][" + std::to_string(lanes_) + "] = {\n";
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

int Program::Add(Kind kind, std::string text, std::vector<int> deps) {
    instrs_.push_back(Instr{kind, std::move(text), std::move(deps)});
    return static_cast<int>(instrs_.size()) - 1;
}

std::string Program::Emit(const std::string& indent) const {
    std::vector<char> done(instrs_.size(), 0);
    std::vector<int> order;
    for (size_t i = 0; i < instrs_.size(); ++i)
        if (instrs_[i].kind == Kind::kLoad) {
            order.push_back(static_cast<int>(i));
            done[i] = 1;
        }
    std::function<void(int)> visit = [&](int id) {
        if (done[id]) return;
        done[id] = 1;
        for (int d : instrs_[id].deps) visit(d);
        order.push_back(id);
    };
    for (size_t i = 0; i < instrs_.size(); ++i)
        if (instrs_[i].kind == Kind::kStore) visit(static_cast<int>(i));

    // In-place safety: the destination may be the source, so no store may
    // come before the last load.
    bool stored = false;
    std::string out;
    for (int id : order) {
        if (instrs_[id].kind == Kind::kStore) stored = true;
        if (instrs_[id].kind == Kind::kLoad && stored)
            throw std::runtime_error("refusing to emit a body that stores before its last load");
        out += indent + instrs_[id].text + "\n";
    }
    return out;
}

}  // namespace gen
