#!/bin/sh
# exports.sh NM READELF LIBRARY LIST PROGRAM
# What the library exports is its list, and what a program that uses every declaration needs is the
# same list; and the library names the log library instead of holding it.
set -eu
nm=$1 readelf=$2 library=$3 list=$4 program=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

sed -n 's/^ *\([A-Za-z_][A-Za-z0-9_]*\);.*/\1/p' "$list" | sort >"$work/listed"
"$nm" -D --defined-only "$library" | awk '{ print $NF }' | sort >"$work/exported"
diff "$work/listed" "$work/exported" || { echo "< listed, > exported"; exit 1; }

# The second constructor and destructor serve derived classes only.
grep -v 'TiltCorrection[CD]2E' "$work/listed" >"$work/declared"
"$nm" -D --undefined-only "$program" | awk '{ sub(/@.*/, "", $NF); print $NF }' | sort |
    grep -F -x -f "$work/listed" >"$work/used"
diff "$work/declared" "$work/used" || { echo "< listed, > declared"; exit 1; }

"$readelf" -d "$library" | grep -q 'NEEDED.*libskylevel-log\.so' || { echo "the log library is not named"; exit 1; }
