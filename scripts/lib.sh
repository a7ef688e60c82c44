# Shared by the scripts of this folder; sourced, never run.

all_targets="linux linux-tsan linux-release win32 win64"
cache=${BRIMTIDE_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/brimtide}
export BRIMTIDE_CACHE="$cache"

# What one clone has compiled serves the next one, wherever it lies.
CCACHE_BASEDIR=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export CCACHE_BASEDIR CCACHE_NOHASHDIR=1

say() { printf '%s\n' "$*" >&2; }
die() { say "error: $*"; exit 1; }

# Whether the machine's kernel runs 32-bit programs; some virtual machines' don't.
runs_32_bit() { /lib/ld-linux.so.2 --version >/dev/null 2>&1; }

# The targets named, in their fixed order; all when none is named.
expand_targets() {
    [ $# -gt 0 ] || { printf '%s' "$all_targets"; return; }
    for wanted in "$@"; do
        case " $all_targets " in
            *" $wanted "*) ;;
            *) die "unknown target '$wanted'; there are: $all_targets" ;;
        esac
    done
    printf '%s' "$*"
}

# Configures a target where that is due, and builds it, or only the parts that are named.
build_target() { # target [part...]
    local target=$1
    shift
    mkdir -p build
    if [ ! -e "build/$target/build.ninja" ]; then
        cmake --preset "$target" >"build/$target-configure.log" 2>&1 || {
            cat "build/$target-configure.log" >&2
            return 1
        }
    fi
    cmake --build --preset "$target" ${1:+--target "$@"} -- --quiet
}
