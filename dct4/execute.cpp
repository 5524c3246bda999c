// The DCT-IV transform: checks, then the kernel the DCT4Spec's kind names.
// The kind word is read on every call, so a DCT4Spec whose kind was
// overwritten is refused before anything is read or written; so is one
// built for the other precision, whose tables the kernels would read past.
#include "dct4/plan_records.h"
#include "dct4/run_plan.h"
#include "qvngen.h"

namespace {

template <class T>
Status Transform(const T* src, T* dst, ::DCT4Spec* spec) {
    if (spec == nullptr || src == nullptr || dst == nullptr) return kStatusNullPointer;
    if (spec->header.function != qvn::dct4::Precision<T>::kBuild) return kStatusBadSpec;
    switch (spec->kind) {
        case 1: qvn::dct4::Direct<2, T>(src, dst); break;
        case 2: qvn::dct4::Direct<4, T>(src, dst); break;
        case 3: qvn::dct4::Direct<8, T>(src, dst); break;
        case 4: qvn::dct4::Direct<16, T>(src, dst); break;
        case 5: qvn::dct4::Direct<32, T>(src, dst); break;
        case 6: {
            qvn::dct4::PlanView plan;
            qvn::dct4::ReadPlan(spec, &plan);
            qvn::dct4::RunPlan<T>(plan, src, dst);
            break;
        }
        default: return kStatusBadSpec;
    }
    return kStatusOk;
}

}  // namespace

QVN_DECL(Status) qvngDCT4_32f(const float* src, float* dst, DCT4Spec* spec) { return Transform(src, dst, spec); }
QVN_DECL(Status) qvngDCT4_64f(const double* src, double* dst, DCT4Spec* spec) { return Transform(src, dst, spec); }
