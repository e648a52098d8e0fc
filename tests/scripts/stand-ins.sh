# shellcheck shell=bash
# For tests of our scripts: a copy of them in a temporary folder, and a PATH in which apt, dpkg, sudo
# and id are stand-ins that do what a case says and write down how they were called.

here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
root=$(readlink -f "$here/../..")
room=$(mktemp -d)
trap 'rm -rf "$room"' EXIT
failures=0
mkdir "$room/bin"
ln -s /usr/bin/* "$room/bin/"
rm -f "$room"/bin/{apt*,dpkg*,clang*}

# A fresh machine and a fresh checkout for each case.
fresh() {
    rm -rf "${room:?}"/{checkout,machine,tmp}
    mkdir -p "$room/checkout" "$room/machine/installed" "$room/tmp"
    cp -r "$root/scripts" "$root/run" "$root/test" "$room/checkout/"
    export MACHINE=$room/machine
    temporary=$room/tmp
    : >"$MACHINE/calls"
    cat >"$room/checkout/scripts/packages.txt" <<'END'
[build]
compiler
library
[server]
server (unpacked beside pulseaudio)
[test-build]
harness
[test]
tool
pulseaudio (unpacked)
[lint]
clang-LLVM
llvm-LLVM
END
    printf '%s\n' compiler library server harness tool pulseaudio >"$MACHINE/known"
    # Each says what it was told to say for its first argument that isn't an option, and ends so.
    standIn id <<'END'
cat "$MACHINE/uid" 2>/dev/null || echo 0
END
    standIn sudo <<'END'
if [ -e "$MACHINE/sudo-says" ]; then cat "$MACHINE/sudo-says" >&2; exit 1; fi
exec "$@"
END
    standIn dpkg-query <<'END'
for name; do [ ! -e "$MACHINE/installed/$name" ] || echo "installed $name:amd64"; done
END
    standIn apt-cache <<'END'
case $1 in
    pkgnames) cat "$MACHINE/known" ;;
    policy) echo "  Candidate: 1.0" ;;
esac
END
    standIn apt-get <<'END'
echo "$*" >>"$MACHINE/calls"
simulated=false
verb=
names=()
while [ $# -gt 0 ]; do
    case $1 in
        -o) shift ;;
        -s) simulated=true ;;
        -*) ;;
        *) if [ -z "$verb" ]; then verb=$1; else names+=("$1"); fi ;;
    esac
    shift
done
if [ -e "$MACHINE/$verb-says" ] && ! $simulated; then
    cat "$MACHINE/$verb-says" >&2
    exit 100
fi
for name in "${names[@]}"; do
    if [ "$verb" = install ] && grep -qx "$name" "$MACHINE/unknown" 2>/dev/null; then
        echo "E: Unable to locate package $name" >&2
        exit 100
    fi
    if [ "$verb" = install ] && grep -qx "$name" "$MACHINE/removes" 2>/dev/null; then
        echo "E: Packages need to be removed but remove is disabled." >&2
        exit 100
    fi
done
for name in "${names[@]}"; do
    case $verb in
        install)
            if $simulated; then echo "Inst $name (1.0 Debian [amd64])"; else : >"$MACHINE/installed/$name"; fi
            ;;
        download) : >"${name%%=*}_1.0.deb" ;;
    esac
done
END
    standIn df <<'END'
echo Avail
cat "$MACHINE/room-left" 2>/dev/null || echo 1000000000000
END
    standIn dpkg-deb <<'END'
[ ! -e "$MACHINE/unpack-says" ] || { mkdir -p "$3/usr/bin"; cat "$MACHINE/unpack-says" >&2; exit 2; }
mkdir -p "$3/usr/bin" "$3/usr/lib/modules"
: >"$3/usr/lib/modules/module-native-protocol-unix.so"
program=$3/usr/bin/$(basename "$2" _1.0.deb)
printf '#!/bin/sh\necho "unpacked: $*"\n' >"$program"
chmod +x "$program"
END
}
standIn() {
    { echo '#!/bin/bash'; cat; } >"$room/bin/$1.new"
    rm -f "$room/bin/$1"
    mv "$room/bin/$1.new" "$room/bin/$1"
    chmod +x "$room/bin/$1"
}

# Runs a program of the checkout; its outputs and its status are kept for what is expected.
try() {
    status=0
    (cd "$room/checkout" && PATH=$room/bin TMPDIR=$temporary "$@") >"$room/out" 2>"$room/err" || status=$?
}
wrong() {
    echo "$case: $1"
    sed 's/^/    out: /' "$room/out"
    sed 's/^/    err: /' "$room/err"
    failures=$((failures + 1))
}
succeeds() { [ "$status" -eq 0 ] || wrong "status $status"; }
# One sentence on standard error that has these words, and a status that isn't 0.
failsSaying() {
    [ "$status" -ne 0 ] || wrong "status 0"
    [ "$(wc -l <"$room/err")" -eq 1 ] || wrong "not one line"
    grep -q "$1" "$room/err" || wrong "doesn't say \"$1\""
}
holds() { "$@" || wrong "doesn't hold: $*"; }
holdsNot() { ! "$@" || wrong "holds: $*"; }

runCases() {
    local name
    for name in $(declare -F | sed -n 's/^declare -f case\([A-Z].*\)/\1/p'); do
        case=$name
        fresh
        "case$name"
    done
    exit $((failures > 0))
}
