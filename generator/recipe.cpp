#include "recipe.h"

#include <cctype>
#include <stdexcept>

namespace gen {
namespace {

bool IsPrime(int n) {
    if (n < 2) return false;
    for (int d = 2; d * d <= n; ++d)
        if (n % d == 0) return false;
    return true;
}

int SmallestFactor(int n) {
    for (int d = 2; d * d <= n; ++d)
        if (n % d == 0) return d;
    return n;
}

Recipe Make(Recipe::Kind kind, int length, std::vector<Recipe> parts = {}) {
    return Recipe{kind, length, std::move(parts)};
}

class Parser {
public:
    explicit Parser(const std::string& text) : s_(text) {}

    Recipe ParseAll() {
        Recipe r = Expr();
        Skip();
        if (pos_ != s_.size()) Fail("trailing text");
        return r;
    }

private:
    Recipe Expr() {
        Skip();
        if (pos_ < s_.size() && std::isdigit(static_cast<unsigned char>(s_[pos_])))
            return DefaultRecipe(Number());
        std::string word = Word();
        if (word == "q5") return Make(Recipe::Kind::kQuarterFive, 5);
        Expect('(');
        Recipe r;
        if (word == "pairs") {
            // Direct symmetric pairs at any odd prime, for comparing with the
            // table's Rader stages (the defaults use them at 7 and 11 only).
            const int p = Number();
            if (!IsPrime(p) || p < 3) Fail("pairs of a length that is not an odd prime");
            r = Make(Recipe::Kind::kPairs, p);
        } else if (word == "rader") {
            Recipe inner = Expr();
            r = Make(Recipe::Kind::kRader, inner.length + 1, {inner});
            if (!IsPrime(r.length)) Fail("rader of a non-prime length");
        } else if (word == "radpad") {
            int p = Number();
            Expect(',');
            Recipe inner = Expr();
            if (!IsPrime(p) || inner.length < 2 * (p - 1) - 1) Fail("bad padded Rader");
            r = Make(Recipe::Kind::kPaddedRader, p, {inner});
        } else if (word == "ct" || word == "pfa") {
            std::vector<Recipe> parts{Expr()};
            while (Peek() == ',') {
                ++pos_;
                parts.push_back(Expr());
            }
            // Three or more factors are mapped one factor at a time.
            while (parts.size() > 2) {
                Recipe last = parts.back();
                parts.pop_back();
                Recipe prev = parts.back();
                parts.pop_back();
                auto kind = word == "ct" ? Recipe::Kind::kCooleyTukey : Recipe::Kind::kPrimeFactor;
                parts.push_back(Make(kind, prev.length * last.length, {prev, last}));
            }
            if (parts.size() != 2) Fail("need two factors");
            auto kind = word == "ct" ? Recipe::Kind::kCooleyTukey : Recipe::Kind::kPrimeFactor;
            r = Make(kind, parts[0].length * parts[1].length, parts);
        } else {
            Fail("unknown scheme '" + word + "'");
        }
        Expect(')');
        return r;
    }

    void Skip() {
        while (pos_ < s_.size() && s_[pos_] == ' ') ++pos_;
    }
    char Peek() {
        Skip();
        return pos_ < s_.size() ? s_[pos_] : '\0';
    }
    void Expect(char c) {
        if (Peek() != c) Fail(std::string("expected '") + c + "'");
        ++pos_;
    }
    int Number() {
        Skip();
        size_t start = pos_;
        while (pos_ < s_.size() && std::isdigit(static_cast<unsigned char>(s_[pos_]))) ++pos_;
        if (start == pos_) Fail("expected a number");
        return std::stoi(s_.substr(start, pos_ - start));
    }
    std::string Word() {
        Skip();
        size_t start = pos_;
        while (pos_ < s_.size() && std::isalnum(static_cast<unsigned char>(s_[pos_]))) ++pos_;
        if (start == pos_) Fail("expected a scheme name");
        return s_.substr(start, pos_ - start);
    }
    [[noreturn]] void Fail(const std::string& why) {
        throw std::runtime_error("recipe \"" + s_ + "\": " + why);
    }

    std::string s_;
    size_t pos_ = 0;
};

}  // namespace

Recipe ParseRecipe(const std::string& text) { return Parser(text).ParseAll(); }

Recipe DefaultRecipe(int n) {
    if (n < 2) throw std::runtime_error("no transform of length " + std::to_string(n));
    if (n <= 5) return Make(Recipe::Kind::kButterfly, n);
    if (n == 7 || n == 11) return Make(Recipe::Kind::kPairs, n);
    if (IsPrime(n)) return Make(Recipe::Kind::kRader, n, {DefaultRecipe(n - 1)});
    int p = SmallestFactor(n);
    int power = 1;
    while (n % (power * p) == 0) power *= p;
    if (power == n) {
        // Prime power: first stage the largest power of p not above sqrt(n).
        int a = p;
        while (a * p * a * p <= n) a *= p;
        return Make(Recipe::Kind::kCooleyTukey, n, {DefaultRecipe(a), DefaultRecipe(n / a)});
    }
    // Coprime: the smallest prime's full power first, the rest after it.
    return Make(Recipe::Kind::kPrimeFactor, n, {DefaultRecipe(power), DefaultRecipe(n / power)});
}

std::string Describe(const Recipe& r) {
    switch (r.kind) {
        case Recipe::Kind::kButterfly: return std::to_string(r.length);
        case Recipe::Kind::kPairs: return "pairs" + std::to_string(r.length);
        case Recipe::Kind::kQuarterFive: return "q5";
        case Recipe::Kind::kRader: return "rader(" + Describe(r.parts[0]) + ")";
        case Recipe::Kind::kPaddedRader:
            return "radpad(" + std::to_string(r.length) + ", " + Describe(r.parts[0]) + ")";
        case Recipe::Kind::kCooleyTukey:
            return "ct(" + Describe(r.parts[0]) + ", " + Describe(r.parts[1]) + ")";
        case Recipe::Kind::kPrimeFactor:
            return "pfa(" + Describe(r.parts[0]) + ", " + Describe(r.parts[1]) + ")";
    }
    return "?";
}

}  // namespace gen
