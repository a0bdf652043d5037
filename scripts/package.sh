#!/usr/bin/env bash
# Makes the Debian packages in build/package, checks them with lintian and lists what each installs.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh dpkg-dev doxygen file lintian pybind11-dev python3-dev

eval "$(dpkg-buildflags --export=sh)"  # the hardening that Debian asks for
rm -f build/package/*.deb
cmake --workflow --preset package
lintian --fail-on error build/package/*.deb

for package in build/package/*.deb; do
    printf '\n%s\n' "${package##*/}"
    dpkg-deb --field "$package" Depends
    dpkg-deb --contents "$package" | awk '$1 ~ /^d/ {next}
        /\/html\// {++pages; next}
        {print "    " $6, $7, $8}
        END {if (pages) print "    " pages " files of the manual"}'
done
