#include "kfr_api.h"

namespace qvnbench {

std::string KfrDescription() {
#ifdef QVNB_HAVE_KFR
    // KFR's instruction-set codes, in the order of its KFR_ARCH_* values.
    static const char* const kArchs[] = {"x86", "sse2", "sse3", "ssse3", "sse41", "sse42", "avx", "avx2", "avx512"};
    const int arch = kfr_current_arch();
    const bool known = arch >= 0 && arch < static_cast<int>(sizeof kArchs / sizeof kArchs[0]);
    return std::string(kfr_version_string()) + "; processor: " +
           (known ? std::string(kArchs[arch]) : "arch " + std::to_string(arch)) + "; timed through " +
           Kfr<float>::kRoute;
#else
    return {};
#endif
}

}  // namespace qvnbench
