"""Checks that the library uses no instructions of AVX-VNNI.

For its target AVX3_DL, Highway 1.0 allows compilers these short forms of instructions that AVX-512 has as
well, but does not ask processors for them: some of that target do not have them.

Arguments: objdump, the library.
"""

import re
import subprocess
import sys


def main():
    objdump, library = sys.argv[1:]
    listing = subprocess.run([objdump, "-d", "--no-show-raw-insn", library], check=True,
                             capture_output=True, text=True).stdout
    if "%zmm" not in listing:
        print("there is no AVX-512 code in this library")
        return
    short_forms = re.findall(r"^.*\{vex\}\s+vpdp.*$", listing, re.MULTILINE)
    if short_forms:
        sys.exit("instructions that not all processors of the target have:\n" +
                 "\n".join(short_forms[:10]))


if __name__ == "__main__":
    main()
