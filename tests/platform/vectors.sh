#!/usr/bin/env bash
# Fails unless an object of the library does its arithmetic in vectors, that is, unless its code holds each
# of some instructions on registers of a kind: vectors.sh OBJDUMP ARCHIVE OBJECT REGISTERS MNEMONIC...
# REGISTERS is a pattern such as v[0-9]+[.]4s or %ymm; so is MNEMONIC.
set -euo pipefail

objdump=$1 archive=$2 object=$3 registers=$4
code=$("$objdump" -d --no-show-raw-insn "$archive" |
    awk -v object="$object.cpp.o" '/file format/ { here = index($0, object) } here')
for mnemonic in "${@:5}"; do
    count=$(grep -cE "[[:space:]]$mnemonic[[:space:]].*$registers" <<<"$code" || true)
    echo "$object: $count of $mnemonic on $registers"
    [ "$count" -gt 0 ]
done
