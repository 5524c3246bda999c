#include "check_order.h"

#include <stdexcept>

namespace apidoc {

std::vector<Check> CheckOrder(const std::vector<Check>& checks, const FaultyCall& call) {
    for (std::size_t i = 0; i < checks.size(); ++i)
        for (std::size_t j = i + 1; j < checks.size(); ++j)
            if (checks[i].status == checks[j].status)
                throw std::logic_error("two checks with status " + std::to_string(checks[i].status));
    std::vector<Check> order;
    unsigned faults = (1u << checks.size()) - 1;
    while (faults != 0) {
        const Status status = call(faults);
        std::size_t found = checks.size();
        for (std::size_t i = 0; i < checks.size(); ++i)
            if ((faults >> i & 1u) && checks[i].status == status) found = i;
        if (found == checks.size())
            throw std::runtime_error("unexpected status " + std::to_string(status) + " with fault " +
                                     checks[0].fault + "...");
        order.push_back(checks[found]);
        faults &= ~(1u << found);
    }
    if (const Status status = call(0); status != kStatusOk)
        throw std::runtime_error("status " + std::to_string(status) + " for a call without faults");
    return order;
}

}  // namespace apidoc
