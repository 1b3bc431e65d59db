#!/usr/bin/env python3
"""Makes the inputs that a fuzz target starts from: make_seeds.py TARGET FOLDER"""

import random
import sys
from pathlib import Path

# How many, and how long: enough to reach every operation of a target with every kind of picture.
COUNT = 64
LENGTHS = (1, 4, 16, 40, 100, 400)


def main(target, folder):
    generator = random.Random(target)
    folder.mkdir(parents=True, exist_ok=True)
    for i in range(COUNT):
        length = LENGTHS[i % len(LENGTHS)]
        # Few values at first, so that numbers stay small and choices repeat; then any.
        limit = (4, 32, 256)[i // len(LENGTHS) % 3]
        # The first byte chooses the operation; every one gets its turn.
        first = bytes([i % 16])
        (folder / f"seed-{i:02}").write_bytes(first + bytes(generator.randrange(limit) for _ in range(length)))


main(sys.argv[1], Path(sys.argv[2]))
