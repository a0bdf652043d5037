#!/usr/bin/env bash
# Builds everything and runs every test. Usage: scripts/test.sh [preset], by default dev.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --workflow --preset "${1:-dev}"
