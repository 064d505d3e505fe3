// The border between a Mac's calls and Linux's on arm64. A Mac's caller puts all unnamed arguments on
// the stack, and relies on the whole register of a BOOL.

// Looks the method up and passes the message on as MacRuntime.mm says. No message of the library
// passes floating-point numbers.
.globl objc_msgSend
.type objc_msgSend, @function
objc_msgSend:
  stp x29, x30, [sp, #-80]!
  mov x29, sp
  stp x0, x1, [sp, #16]
  stp x2, x3, [sp, #32]
  stp x4, x5, [sp, #48]
  stp x6, x7, [sp, #64]
  bl mac_lookup
  mov x16, x0 // the method
  mov x17, x1 // its kind
  ldp x0, x1, [sp, #16]
  ldp x2, x3, [sp, #32]
  ldp x4, x5, [sp, #48]
  ldp x6, x7, [sp, #64]
  ldp x29, x30, [sp], #80
  cmp x17, #1
  b.eq returnsBool
  b.hi takesUnnamed
  br x16

returnsBool:
  stp x29, x30, [sp, #-16]!
  mov x29, sp
  blr x16
  and w0, w0, #0xff
  ldp x29, x30, [sp], #16
  ret

// After one named argument, five at most.
takesUnnamed:
  ldp x3, x4, [sp]
  ldp x5, x6, [sp, #16]
  ldr x7, [sp, #32]
  br x16

// After the format, seven at most.
.globl mac_NSLog
.type mac_NSLog, @function
mac_NSLog:
  ldp x1, x2, [sp]
  ldp x3, x4, [sp, #16]
  ldp x5, x6, [sp, #32]
  ldr x7, [sp, #48]
  b __wrap_NSLog

// After the descriptor and the request.
.globl mac_ioctl
.type mac_ioctl, @function
mac_ioctl:
  ldr x2, [sp]
  b mac_terminal_size

// After the format, five at most. None is a floating-point number.
.globl mac_snprintf
.type mac_snprintf, @function
mac_snprintf:
  ldp x3, x4, [sp]
  ldp x5, x6, [sp, #16]
  ldr x7, [sp, #32]
  b snprintf

.section .note.GNU-stack, "", @progbits
