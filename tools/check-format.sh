#!/usr/bin/env bash
# Checks that the C and C++ sources follow .clang-format.
#   tools/check-format.sh                every tracked source
#   tools/check-format.sh --base REF     the sources changed since REF
#   tools/check-format.sh FILE...        those files
# Add --fix to rewrite the files instead of listing them. Exits 1 when a file
# differs (without --fix), naming each one.
set -euo pipefail
cd "$(git rev-parse --show-toplevel)"
format=${CLANG_FORMAT:-clang-format}
command -v "$format" >/dev/null || { echo "check-format: $format not found (make setup)" >&2; exit 2; }

fix=0
base=
files=()
while [ $# -gt 0 ]; do
    case $1 in
        --fix) fix=1 ;;
        --base) base=$2; shift ;;
        *) files+=("$1") ;;
    esac
    shift
done

pattern=('*.c' '*.cpp' '*.h')
if [ ${#files[@]} -eq 0 ]; then
    if [ -n "$base" ]; then
        mapfile -t files < <(git diff --name-only --diff-filter=d "$base" -- "${pattern[@]}")
    else
        mapfile -t files < <(git ls-files -- "${pattern[@]}")
    fi
fi
[ ${#files[@]} -gt 0 ] || exit 0

if [ $fix -eq 1 ]; then
    printf '%s\0' "${files[@]}" | xargs -0 -n 50 "$format" -i
    exit 0
fi

# One run over all files; its diagnostics name each file that differs.
mapfile -t bad < <(printf '%s\0' "${files[@]}" |
    xargs -0 "$format" --dry-run --Werror 2>&1 >/dev/null |
    sed -n 's/^\([^:]*\):[0-9]*:[0-9]*: error: .*/\1/p' | sort -u)
[ ${#bad[@]} -eq 0 ] && exit 0
printf 'check-format: %s differs from .clang-format\n' "${bad[@]}"
echo "check-format: fix with tools/check-format.sh --fix FILE..." >&2
exit 1
