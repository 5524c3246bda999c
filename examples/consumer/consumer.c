/*
 * A program of the kind a qvngen user writes, built against an installed
 * qvngen either with CMake (CMakeLists.txt: find_package) or with make
 * (Makefile: pkg-config). It uses both libraries: buffers from qvnMalloc,
 * a real DFT of 16 samples into the CCS layout and back, and a type-IV DCT.
 * Exits non-zero when a result is off.
 */
#include <math.h>
#include <stdio.h>

#include <qvncore.h>
#include <qvngen.h>

enum { N = 16 };

int main(void) {
    const LibraryVersion* v = qvngenGetLibVersion();
    printf("%s %s\n", v->name, v->version);

    float* x = qvnMalloc(N * sizeof(float));
    float* spectrum = qvnMalloc((N + 2) * sizeof(float)); /* CCS: N + 2 elements for even N */
    float* back = qvnMalloc(N * sizeof(float));
    if (!x || !spectrum || !back) return 1;

    /* A cosine at bin 3 puts N/2 into Re 3 of an unscaled forward transform. */
    for (int n = 0; n < N; ++n) x[n] = (float)cos(2 * 3.14159265358979 * 3 * n / N);
    int failures = 0;
    failures += qvngDFTFwd_RToCCS_16_32f(x, spectrum, kScaleNone) != kStatusOk;
    printf("Re 3 = %.4f (expected %d)\n", spectrum[6], N / 2);
    failures += fabsf(spectrum[6] - N / 2) > 1e-4f;

    /* The inverse with kScaleInvByN divides by N: back to the samples. */
    failures += qvngDFTInv_CCSToR_16_32f(spectrum, back, kScaleInvByN) != kStatusOk;
    float err = 0;
    for (int n = 0; n < N; ++n) err = fmaxf(err, fabsf(back[n] - x[n]));
    printf("real DFT round trip: max error %.2e\n", err);
    failures += !(err < 1e-6f);

    /* DCT-IV through a specification the library allocates and frees. */
    DCT4Spec* spec = NULL;
    failures += qvngDCT4InitAlloc_32f(&spec, N) != kStatusOk;
    if (spec) {
        failures += qvngDCT4_32f(x, back, spec) != kStatusOk;
        failures += qvngDCT4Free_32f(spec) != kStatusOk;
    }

    qvnFree(x);
    qvnFree(spectrum);
    qvnFree(back);
    printf(failures ? "FAILED\n" : "ok\n");
    return failures ? 1 : 0;
}
