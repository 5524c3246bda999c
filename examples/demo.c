/*
 * qvngen-demo: a first look at the complex DFT entries.
 *
 * Builds 48 samples holding two tones, finds them in the spectrum in double
 * and in single precision, transforms back and checks the round trip, and
 * shows how a bad argument is reported. Then a type-IV DCT of 256 points
 * through a specification built once.
 */
#include <math.h>
#include <stdio.h>

#include "qvncore.h"
#include "qvngen.h"

#define N 48

static const double kPi = 3.14159265358979323846;

/* Prints every bin whose magnitude is above 1e-3 of the largest one. */
static void print_bins(const char* label, const double* mag) {
    double peak = 0;
    for (int k = 0; k < N; ++k) peak = mag[k] > peak ? mag[k] : peak;
    printf("%s: bins with energy\n", label);
    for (int k = 0; k < N; ++k)
        if (mag[k] > 1e-3 * peak) printf("  bin %2d  magnitude %.6f\n", k, mag[k]);
}

int main(void) {
    const LibraryVersion* v = qvngenGetLibVersion();
    printf("%s %s\n", v->name, v->version);

    /* Library buffers are 64-byte aligned, which lets the entries use
     * aligned loads; any other array works too, only a little slower. */
    Complex64f* x = qvnMalloc(N * sizeof(Complex64f));
    Complex64f* y = qvnMalloc(N * sizeof(Complex64f));
    Complex32f* xf = qvnMalloc(N * sizeof(Complex32f));
    Complex32f* yf = qvnMalloc(N * sizeof(Complex32f));
    if (!x || !y || !xf || !yf) return 1;

    /* Tone 1: amplitude 1.0 at bin 5. Tone 2: amplitude 0.25 at bin -8,
     * i.e. bin 40, with a phase offset of 0.3 rad. */
    for (int j = 0; j < N; ++j) {
        double a1 = 2 * kPi * 5 * j / N, a2 = -2 * kPi * 8 * j / N + 0.3;
        x[j].re = cos(a1) + 0.25 * cos(a2);
        x[j].im = sin(a1) + 0.25 * sin(a2);
        xf[j].re = (float)x[j].re;
        xf[j].im = (float)x[j].im;
    }

    /* kScaleFwdByN divides the forward result by N, so a bin's magnitude is
     * the amplitude of its tone; the matching inverse is then unscaled. */
    int failures = 0;
    double mag[N];
    Status st = qvngDFTFwd_CToC_48_64fc(x, y, kScaleFwdByN);
    if (st != kStatusOk) return printf("forward failed: %d\n", (int)st), 1;
    for (int k = 0; k < N; ++k) mag[k] = hypot(y[k].re, y[k].im);
    print_bins("64-bit forward, scaled by 1/N", mag);

    /* Source and destination may be the same array: invert in place. */
    st = qvngDFTInv_CToC_48_64fc(y, y, kScaleFwdByN);
    double err = 0;
    for (int j = 0; j < N; ++j) {
        double e = hypot(y[j].re - x[j].re, y[j].im - x[j].im);
        err = e > err ? e : err;
    }
    printf("64-bit round trip: status %d, max error %.3e\n", (int)st, err);
    failures += st != kStatusOk || !(err < 1e-13);

    /* Single precision with kScaleBySqrtN: both directions scale by
     * 1/sqrt(N), so the pair is unitary and magnitudes grow by sqrt(N). */
    st = qvngDFTFwd_CToC_48_32fc(xf, yf, kScaleBySqrtN);
    for (int k = 0; k < N; ++k) mag[k] = hypot(yf[k].re, yf[k].im) / sqrt((double)N);
    print_bins("32-bit forward, scaled by 1/sqrt(N), shown divided by sqrt(N)", mag);
    failures += st != kStatusOk;
    st = qvngDFTInv_CToC_48_32fc(yf, yf, kScaleBySqrtN);
    err = 0;
    for (int j = 0; j < N; ++j) {
        double e = hypot(yf[j].re - xf[j].re, yf[j].im - xf[j].im);
        err = e > err ? e : err;
    }
    printf("32-bit round trip: status %d, max error %.3e\n", (int)st, err);
    failures += st != kStatusOk || !(err < 1e-5);

    /* Errors: the flag is one of four values, not a bit set, so 3 is
     * rejected; a null pointer is reported before the flag is looked at.
     * In both cases the destination is left as it was. */
    y[0].re = 42.0;
    st = qvngDFTFwd_CToC_48_64fc(x, y, 3);
    printf("flag 3: status %d (%s), dst[0].re still %.1f\n", (int)st,
           st == kStatusBadFlag ? "kStatusBadFlag" : "unexpected", y[0].re);
    failures += st != kStatusBadFlag || y[0].re != 42.0;
    st = qvngDFTFwd_CToC_48_64fc(NULL, y, 3);
    printf("null source: status %d (%s)\n", (int)st,
           st == kStatusNullPointer ? "kStatusNullPointer" : "unexpected");
    failures += st != kStatusNullPointer;

    /* Type-IV DCT: one of its own basis vectors comes out as a single
     * coefficient of N/2; the transform undoes itself up to that factor. */
    enum { M = 256, K0 = 37 };
    static float in[M], out[M], back[M];
    for (int n = 0; n < M; ++n) in[n] = (float)cos(kPi / M * (n + 0.5) * (K0 + 0.5));
    DCT4Spec* spec = NULL;
    st = qvngDCT4InitAlloc_32f(&spec, M);
    if (st != kStatusOk) return printf("DCT-IV init failed: %d\n", (int)st), 1;
    st = qvngDCT4_32f(in, out, spec);
    double off_peak = 0;
    for (int k = 0; k < M; ++k)
        if (k != K0) off_peak = fabs(out[k]) > off_peak ? fabs(out[k]) : off_peak;
    printf("DCT-IV of basis vector %d: coefficient %.4f (N/2 = %d), largest other %.2e\n", K0, out[K0], M / 2, off_peak);
    failures += st != kStatusOk || fabs(out[K0] - M / 2) > 1e-3 || off_peak > 1e-3;
    st = qvngDCT4_32f(out, back, spec);
    err = 0;
    for (int n = 0; n < M; ++n) err = fabs(back[n] / (M / 2) - in[n]) > err ? fabs(back[n] / (M / 2) - in[n]) : err;
    printf("DCT-IV applied twice, divided by N/2: max error %.3e\n", err);
    failures += st != kStatusOk || !(err < 1e-5);
    qvngDCT4Free_32f(spec);

    qvnFree(x);
    qvnFree(y);
    qvnFree(xf);
    qvnFree(yf);
    printf(failures ? "FAILED\n" : "all checks passed\n");
    return failures ? 1 : 0;
}
