// The version of this library as an ELF note, since nothing but the entry point may be exported:
//   readelf -n libWalletCaller-redhatlinux-x8664.so
// Name "WalletCaller", type 1, and the version as a NUL-terminated text.
__asm__(
    ".pushsection .note.walletcaller,\"a\",@note\n"
    ".balign 4\n"
    ".long 2f - 1f\n"
    ".long 4f - 3f\n"
    ".long 1\n"
    "1: .asciz \"WalletCaller\"\n"
    "2: .balign 4\n"
    "3: .asciz \"" WALLETCALLER_VERSION
    "\"\n"
    "4: .balign 4\n"
    ".popsection\n");
