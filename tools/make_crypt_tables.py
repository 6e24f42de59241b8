#!/usr/bin/env python3
"""Makes tesselkit/encoding/adcrypt_tables.h.

The seeds are fixed for good: digests and scrambled texts that are stored somewhere depend on them.

    tools/make_crypt_tables.py > tesselkit/encoding/adcrypt_tables.h
    tools/make_crypt_tables.py --check tesselkit/encoding/adcrypt_tables.h
"""
import sys

DIGEST_SEED = 0x7E55E1C17D16E57
PAD_SEED = 0x5C4A3B1E7E55E1C
ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"
MASK = (1 << 64) - 1

HEADER = """\
// The constants of the password digest and of the scrambling.
// Made by tools/make_crypt_tables.py; never to be changed, since stored digests and scrambled texts
// depend on them.
#pragma once

#include <cstdint>

namespace tesselkit::encoding {

// clang-format off
"""

FOOTER = """\
// clang-format on

}  // namespace tesselkit::encoding
"""


def splitmix(seed):
    """The generator of 64-bit numbers known by that name."""
    while True:
        seed = (seed + 0x9E3779B97F4A7C15) & MASK
        z = seed
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & MASK
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & MASK
        yield z ^ (z >> 31)


def distinct_words(count):
    words = {}
    for number in splitmix(DIGEST_SEED):
        words.setdefault(number >> 32)
        if len(words) == count:
            return list(words)


def pad(length):
    numbers = splitmix(PAD_SEED)
    return "".join(ALPHABET[next(numbers) >> 58] for _ in range(length))


def lines(sequence, per_line):
    return (sequence[at:at + per_line] for at in range(0, len(sequence), per_line))


def text():
    words = "".join(
        "    " + " ".join(f"0x{word:08x}," for word in line) + "\n"
        for line in lines(distinct_words(2048), 8))
    characters = "".join(f'\n    "{line}"' for line in lines(pad(2560), 64))
    return (HEADER +
            "inline constexpr std::uint32_t kDigestWords[2048] = {\n" + words + "};\n\n" +
            "// A NUL follows the 2560 characters.\n" +
            "inline constexpr char kScramblingPad[2560 + 1] =" + characters + ";\n" + FOOTER)


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "--check":
        with open(sys.argv[2], encoding="ascii") as file:
            return 0 if file.read() == text() else "the file is not what this script makes"
    sys.stdout.write(text())
    return 0


if __name__ == "__main__":
    sys.exit(main())
