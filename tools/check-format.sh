#!/usr/bin/env bash
# Tells every place that clang-format would write otherwise. Run as a test; `make format` mends what it names.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z '*.h' '*.cpp' | xargs -0 -P "$(nproc)" -n 40 clang-format-14 --dry-run --Werror
