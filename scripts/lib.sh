# Shared by the scripts beside it: what the build needs, and how to get it. Messages go to standard error, because
# standard output may be a WAV stream.

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# What the libraries and the command line are built with.
BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libavcodec-dev libavformat-dev libicu-dev libplist-dev
    nlohmann-json3-dev)
# What the tests need beyond that. The second line is for the layout, of which Debian 12 has the release that counts; the
# third for the 32-bit big-endian run, the fourth for images of file systems, the fifth for Java.
TEST_PACKAGES=(libgtest-dev libgmock-dev libbenchmark-dev libpng-dev ffmpeg python3 git mandoc perl locales unar
    clang-format
    g++-powerpc-linux-gnu qemu-user
    e2fsprogs xfsprogs btrfs-progs squashfs-tools exfatprogs exfat-fuse
    default-jdk-headless junit5 chromium curl)

# What the checks beyond the tests need; the compiler's run-time library has its version in its name.
CHECK_PACKAGES=(clang clang-tidy llvm)

say() { printf '%s\n' "$*" >&2; }

die() {
    say "$(basename "$0"): $*"
    exit 1
}

# Installs those of the named Debian packages that are missing.
ensure_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query --show --showformat='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    command -v apt-get >/dev/null || die "these packages are missing, and there is no apt-get: ${missing[*]}"
    [ "$(id -u)" = 0 ] || die "these packages are missing; as root, run: apt-get install ${missing[*]}"
    say "Installing ${missing[*]}"
    apt-get update -qq >&2 || die "apt-get update failed"
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2 ||
        die "apt-get install failed"
}

ensure_check_packages() {
    ensure_packages "${CHECK_PACKAGES[@]}"
    ensure_packages "libclang-rt-$(clang -dumpversion | cut -d. -f1)-dev"
}

# run_quietly LABEL LOG COMMAND...: one line when it works, the log when it does not.
run_quietly() {
    local label=$1 log=$2
    shift 2
    say "$label"
    mkdir -p "$(dirname "$log")"
    if ! "$@" >"$log" 2>&1; then
        tail -n 60 "$log" >&2
        die "that failed; the whole log is $log"
    fi
}

# refuse_dropped_results LOG: fails if the compiler, which ran in the log's folder, warned of a result that must be used.
# The sources of such lines are to be compiled again, so that the next build warns of them too.
refuse_dropped_results() {
    local lines line
    lines=$(grep -F '[-Wunused-result]' "$1") || return 0
    say "$lines"
    while read -r line; do
        (cd "$(dirname "$1")" && touch -c "${line%%:*}")
    done <<<"$lines"
    die "results that must be used are dropped"
}

# loader_folder PREFIX: the folder of our libraries below PREFIX, if the loader keeps a list of what is in it.
loader_folder() {
    local library folder
    [ -z "${DESTDIR-}" ] || return 0
    library=$(find "$1" -maxdepth 3 -path "$1/lib*" -name 'libmirtal_toolbox.so.*' -print -quit 2>/dev/null) || true
    [ -n "$library" ] || return 0
    folder=$(realpath "$(dirname "$library")")
    PATH=$PATH:/usr/sbin:/sbin ldconfig -v -N -X 2>/dev/null | sed -n 's/^\(\/[^:]*\):.*/\1/p' |
        while read -r known; do [ "$(realpath -m "$known")" != "$folder" ] || echo "$folder"; done
}

refresh_loader() {
    if [ "$(id -u)" = 0 ]; then
        PATH=$PATH:/usr/sbin:/sbin ldconfig
    else
        say "As root, run ldconfig: the loader's list of libraries is out of date."
    fi
}
