#!/usr/bin/env python3
"""Checks how programs are compiled and linked: usage check_hardening.py <program>..."""

import platform
import re
import subprocess
import sys

# What readelf must show, by its options.
EXPECTED = {
    "a position-independent executable": ("-hd", r"Type:\s+DYN.*FLAGS_1\)\s+Flags:.*PIE"),
    "relocations that become read-only": ("-l", r"GNU_RELRO"),
    "no lazy binding": ("-d", r"FLAGS_1\)\s+Flags:.*NOW"),
    "no executable stack": ("-l", r"GNU_STACK(\s+0x\w+)+\s+RW\s"),
    "stack protectors": ("--dyn-syms", r"\b__stack_chk_fail\b"),
}


def shown(program, option):
    return subprocess.run(["readelf", "-W", option, program], check=True, capture_output=True,
                          text=True).stdout


def marks_branch_targets(program):
    """Whether `main` begins with the instruction that indirect branches may reach."""
    if platform.machine() != "x86_64":
        return True
    code = subprocess.run(["objdump", "-d", "--no-show-raw-insn", "--disassemble=main", program],
                          check=True, capture_output=True, text=True).stdout
    return re.search(r"<main>:\n\s*[0-9a-f]+:\s+endbr64", code) is not None


failed = False
for program in sys.argv[1:]:
    missing = [what for what, (option, pattern) in EXPECTED.items()
               if not re.search(pattern, shown(program, option), re.DOTALL)]
    if not marks_branch_targets(program):
        missing.append("marked branch targets")
    for what in missing:
        failed = True
        print(f"{program}: lacks {what}")
# A program all of whose buffers the compiler knows needs none at run time.
if not any(re.search(r"\b__(?!stack)\w+_chk\b", shown(program, "--dyn-syms"))
           for program in sys.argv[1:]):
    failed = True
    print("no program checks the sizes of buffers")
sys.exit(1 if failed else 0)
