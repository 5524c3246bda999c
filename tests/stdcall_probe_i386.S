/* void qvn_probe_stdcall(const void* function, const uint32_t* args,
 *                        int32_t count, int32_t misalign, StdcallProbe* out)
 *
 * cdecl itself. Copies the argument words below a 16-byte aligned stack
 * pointer (less `misalign`), loads known values into the callee-saved
 * registers, calls, and records eax, how far esp ended up from where the
 * arguments began, and which of ebx, esi, edi came back changed. ebp holds
 * the frame throughout, so the record is written even when esp is off. */
#if defined(_WIN32)
#define SYMBOL(name) _##name
#else
#define SYMBOL(name) name
#endif

#define EBX_MARK 0x13579bdf
#define ESI_MARK 0x2468ace0
#define EDI_MARK 0x0f1e2d3c

        .text
        .globl  SYMBOL(qvn_probe_stdcall)
SYMBOL(qvn_probe_stdcall):
        pushl   %ebp
        movl    %esp, %ebp
        pushl   %ebx
        pushl   %esi
        pushl   %edi
        subl    $4, %esp                /* -16(%ebp): esp the callee must restore */

        movl    16(%ebp), %ecx          /* count */
        leal    0(,%ecx,4), %eax
        movl    %esp, %edx
        subl    %eax, %edx
        andl    $-16, %edx
        subl    20(%ebp), %edx          /* misalign */
        movl    %edx, %esp              /* esp at the call: the first argument */
        leal    (%esp,%ecx,4), %eax
        movl    %eax, -16(%ebp)

        movl    12(%ebp), %esi          /* args */
        xorl    %edx, %edx
1:      cmpl    %ecx, %edx
        jge     2f
        movl    (%esi,%edx,4), %eax
        movl    %eax, (%esp,%edx,4)
        incl    %edx
        jmp     1b
2:
        movl    8(%ebp), %eax           /* function */
        movl    $EBX_MARK, %ebx
        movl    $ESI_MARK, %esi
        movl    $EDI_MARK, %edi
        call    *%eax

        movl    24(%ebp), %ecx          /* out */
        movl    %eax, 0(%ecx)
        movl    %esp, %edx
        subl    -16(%ebp), %edx
        movl    %edx, 4(%ecx)
        xorl    %edx, %edx
        cmpl    $EBX_MARK, %ebx
        je      3f
        orl     $1, %edx
3:      cmpl    $ESI_MARK, %esi
        je      4f
        orl     $2, %edx
4:      cmpl    $EDI_MARK, %edi
        je      5f
        orl     $4, %edx
5:      movl    %edx, 8(%ecx)

        leal    -12(%ebp), %esp
        popl    %edi
        popl    %esi
        popl    %ebx
        popl    %ebp
        ret

#if defined(__ELF__)
        .section .note.GNU-stack, "", @progbits
#endif
