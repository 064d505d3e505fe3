// The border between a Mac's calls and Linux's on x86_64.

// Looks the method up and jumps to it with all arguments as they came. No message of the library
// passes floating-point numbers.
.globl objc_msgSend
.type objc_msgSend, @function
objc_msgSend:
  push %rbp
  mov %rsp, %rbp
  push %rax
  push %rdi
  push %rsi
  push %rdx
  push %rcx
  push %r8
  push %r9
  sub $8, %rsp
  call objc_msg_lookup@PLT
  mov %rax, %r11
  add $8, %rsp
  pop %r9
  pop %r8
  pop %rcx
  pop %rdx
  pop %rsi
  pop %rdi
  pop %rax
  pop %rbp
  jmp *%r11

.globl mac_NSLog
.type mac_NSLog, @function
mac_NSLog:
  jmp __wrap_NSLog@PLT

.globl mac_ioctl
.type mac_ioctl, @function
mac_ioctl:
  jmp mac_terminal_size@PLT

.globl mac_snprintf
.type mac_snprintf, @function
mac_snprintf:
  jmp snprintf@PLT

.section .note.GNU-stack, "", @progbits
