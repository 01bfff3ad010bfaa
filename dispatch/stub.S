/* The common half of every first-call stub.  A stub loads its table into %r10 and its
   slot into %r11 (neither carries an argument) and comes here with the caller's
   arguments untouched.  This saves every argument register of every signature the
   library has (integer, vector and the al count), settles the slot, restores them and
   goes on through the slot, read afresh.  Operands on the stack (long double, and
   anything past the registers) are never touched.  The settling code does no floating-
   point arithmetic, so the caller's flags and control words pass through unchanged. */
	.section .note.GNU-stack,"",@progbits
	.text
	.p2align 4
	.globl __libm_dispatch_stub_common
	.hidden __libm_dispatch_stub_common
	.type __libm_dispatch_stub_common,@function
__libm_dispatch_stub_common:
	pushq %rbp
	movq %rsp, %rbp
	subq $208, %rsp
	movq %rdi, 0(%rsp)
	movq %rsi, 8(%rsp)
	movq %rdx, 16(%rsp)
	movq %rcx, 24(%rsp)
	movq %r8, 32(%rsp)
	movq %r9, 40(%rsp)
	movq %rax, 48(%rsp)
	movq %r11, 56(%rsp)
	movdqu %xmm0, 64(%rsp)
	movdqu %xmm1, 80(%rsp)
	movdqu %xmm2, 96(%rsp)
	movdqu %xmm3, 112(%rsp)
	movdqu %xmm4, 128(%rsp)
	movdqu %xmm5, 144(%rsp)
	movdqu %xmm6, 160(%rsp)
	movdqu %xmm7, 176(%rsp)
	movq %r10, %rdi
	movq %r11, %rsi
	call __libm_dispatch_settle
	movq 0(%rsp), %rdi
	movq 8(%rsp), %rsi
	movq 16(%rsp), %rdx
	movq 24(%rsp), %rcx
	movq 32(%rsp), %r8
	movq 40(%rsp), %r9
	movq 48(%rsp), %rax
	movq 56(%rsp), %r11
	movdqu 64(%rsp), %xmm0
	movdqu 80(%rsp), %xmm1
	movdqu 96(%rsp), %xmm2
	movdqu 112(%rsp), %xmm3
	movdqu 128(%rsp), %xmm4
	movdqu 144(%rsp), %xmm5
	movdqu 160(%rsp), %xmm6
	movdqu 176(%rsp), %xmm7
	leave
	jmp *(%r11)
	.size __libm_dispatch_stub_common, .-__libm_dispatch_stub_common
