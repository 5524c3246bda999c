/*
 * Runs a test program against a variant library:
 *   variant_run ISA LIBDIR CODE PROGRAM [ARGS...]
 * puts LIBDIR (the directory holding the variant's libqvngenz3.so.7) first
 * on LD_LIBRARY_PATH, which the loader searches before the program's run
 * path, names the variant's processor-target code in
 * QVNGEN_EXPECT_TARGET_CPU for the tests that check it, and executes PROGRAM.
 * Exits 77, which ctest reports as a skipped test, when this processor lacks
 * ISA: the variant's code could not run here.
 */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { kSkip = 77 };

static int Supported(const char* isa) {
    __builtin_cpu_init();
    /* __builtin_cpu_supports takes only literal names. */
    if (strcmp(isa, "x86-64-v3") == 0) return __builtin_cpu_supports("x86-64-v3") != 0;
    if (strcmp(isa, "x86-64-v4") == 0) return __builtin_cpu_supports("x86-64-v4") != 0;
    fprintf(stderr, "variant_run: unknown instruction set '%s'\n", isa);
    exit(2);
}

int main(int argc, char** argv) {
    if (argc < 5) {
        fprintf(stderr, "usage: variant_run ISA LIBDIR CODE PROGRAM [ARGS...]\n");
        return 2;
    }
    if (!Supported(argv[1])) {
        printf("this processor does not run %s: skipped\n", argv[1]);
        return kSkip;
    }
    const char* old = getenv("LD_LIBRARY_PATH");
    size_t size = strlen(argv[2]) + (old ? strlen(old) + 1 : 0) + 1;
    char* path = malloc(size);
    if (path == NULL) return 2;
    snprintf(path, size, "%s%s%s", argv[2], old ? ":" : "", old ? old : "");
    if (setenv("LD_LIBRARY_PATH", path, 1) != 0 || setenv("QVNGEN_EXPECT_TARGET_CPU", argv[3], 1) != 0) {
        perror("variant_run: setenv");
        return 2;
    }
    execv(argv[4], argv + 4);
    perror(argv[4]);
    return 2;
}
