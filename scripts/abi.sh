#!/usr/bin/env bash
# Compares the binary interface of the shared library with the reference in packaging/abi.xml.gz.
# Usage: scripts/abi.sh [check|renew], after a build of the preset dev.
# Additions pass. Anything else breaks programs built before it: undo it, or, where it is meant,
# renew the reference in the same commit and tell of it in CHANGELOG.md.
set -euo pipefail
cd "$(dirname "$0")/.."

reference=packaging/abi.xml.gz
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

scripts/setup.sh abigail-tools
# Only what the public headers declare; the types of other libraries are theirs to keep.
abidw --headers-dir library --header-file build/dev/library/generated/math/Version.h \
    --drop-private-types --exported-interfaces-only --no-corpus-path --no-comp-dir-path --short-locs \
    --out-file "$scratch/now.xml" build/dev/library/libmeasuremath.so

case ${1:-check} in
renew)
    gzip -9n <"$scratch/now.xml" >"$reference"
    ;;
check)
    gunzip -c "$reference" >"$scratch/reference.xml"
    abidiff --no-added-syms "$scratch/reference.xml" "$scratch/now.xml"
    echo "The binary interface is that of the reference, or an extension of it."
    ;;
*)
    sed -n '2,5s/^# //p' "$0" >&2
    exit 2
    ;;
esac
