# Installs what is missing on this machine. Sourced by the other tools, never run by itself.
#
#     need build            compilers, CMake and the libraries Loam links
#     need examples         what loamctl stands on
#     need tests            GoogleTest and what single tests start
#     need checks           clang, formatter, linter
#     need macos            the linker and the runtime's symbols for tools/check-macos
#     need languages        what language profiles are trained and measured with, beside npm
#     need npm              npm, where it isn't there in another way
#     need benchmarks       Google Benchmark and the peers that are measured beside us
#
# Debian and Ubuntu by apt, macOS by Homebrew. sudo is used only where something is missing and we are not root.

loam_packages() {
    case "$1" in
        build)      echo "build-essential cmake ninja-build pkg-config ccache libavahi-client-dev libbz2-dev libglib2.0-dev" \
                         "libicu-dev libplist-dev libsecret-1-dev libssl-dev libzstd-dev" ;;
        examples)   echo "libcli11-dev libfmt-dev nlohmann-json3-dev" ;;
        tests)      echo "avahi-daemon avahi-utils iproute2 libgtest-dev libgmock-dev python3 perl locales util-linux bzip2 zstd openssl" \
                         "dbus-daemon e2fsprogs gnome-keyring libgcr-3-dev mount netcat-openbsd socat squashfs-tools" ;;
        checks)     echo "clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev binutils git" ;;
        macos)      echo "clang-14 lld-14 llvm-14 libc++1-14 python3" ;;
        languages)  echo "python3 libcld2-dev" ;;
        npm)        echo "npm" ;;
        benchmarks) echo "libbenchmark-dev libcld2-dev libspdlog-dev libsqlite3-dev python3 ripgrep" ;;
        *)          echo "setup: no such set of packages: $1" >&2; return 1 ;;
    esac
}

loam_formulas() {
    case "$1" in
        build)      echo "cmake ninja pkg-config ccache zstd" ;;
        examples)   echo "cli11 fmt nlohmann-json" ;;
        tests)      echo "googletest" ;;
        checks)     echo "llvm" ;;
        benchmarks) echo "google-benchmark icu4c ripgrep spdlog sqlite" ;;
    esac
}

loam_as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

loam_has() {
    if [ "$(uname)" = Darwin ]; then
        brew list "$1" >/dev/null 2>&1
    else
        dpkg-query -W -f '${Status}' "$1" 2>/dev/null | grep -q 'ok installed'
    fi
}

# need SET...: see above. Takes no time where everything is there.
need() {
    local packages=loam_packages set package missing=()
    if [ "$(uname)" = Darwin ]; then
        packages=loam_formulas
        command -v brew >/dev/null || { echo "setup: please install Homebrew first" >&2; return 1; }
    elif ! command -v dpkg-query >/dev/null; then
        echo "setup: only Debian, Ubuntu and macOS are known here" >&2
        return 1
    fi
    for set in "$@"; do
        for package in $($packages "$set"); do
            loam_has "$package" || missing+=("$package")
        done
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "installing: ${missing[*]}"
    if [ "$(uname)" = Darwin ]; then
        brew install "${missing[@]}"
    else
        loam_as_root apt-get update -qq
        loam_as_root env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
    fi
}

# build PRESET [TARGET...]: configures where that wasn't done yet, and builds.
build() {
    local preset=$1
    shift
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
    if [ $# -gt 0 ]; then
        cmake --build --preset "$preset" --target "$@"
    else
        cmake --build --preset "$preset"
    fi
}

jobs=$(getconf _NPROCESSORS_ONLN)
