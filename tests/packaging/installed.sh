# shellcheck shell=bash
# For tests of what is installed: the first argument is the folder of a build, which is installed in a
# temporary folder, or "cmake --install" has failed.

# shellcheck disable=SC2034 # for who reads this
sources=$(readlink -f "$(dirname "${BASH_SOURCE[0]}")/../..")
build=${1:?"usage: ${0##*/} BUILD"}
room=$(mktemp -d)
prefix=$room/usr
trap 'rm -rf "$room"' EXIT
export XDG_RUNTIME_DIR=$room # Qt wants one
failures=0
wrong() {
    echo "$1"
    failures=$((failures + 1))
}
# need PROGRAM PACKAGE
need() {
    if ! command -v "$1" >/dev/null; then
        echo "not tried: $2 isn't installed"
        exit 77
    fi
}
end() {
    [ "$failures" -eq 0 ] || exit 1
}
installAll() {
    cmake --install "$build" --prefix "$prefix" >"$room/install.log" 2>&1 || {
        cat "$room/install.log"
        exit 1
    }
}
# Of velmoranctl or one of its commands, a line each, without what every one of them has.
commands() { "$prefix/bin/velmoranctl" "$@" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'; }
options() {
    "$prefix/bin/velmoranctl" "$@" --help | sed -n '/^Options:/,/^$/s/^  \(-h,\)\{0,1\}\(--[a-z-]*\).*/\2/p' |
        grep -v '^--help$'
}
