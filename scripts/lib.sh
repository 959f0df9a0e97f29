# shellcheck shell=sh
# Shared by the scripts in this folder; sourced, not run. Installs the packages that a script needs.

missing=""

# print_help: prints the comment at the top of the script that calls it.
print_help() {
    sed -n '1d; /^[^#]/q; s/^# \{0,1\}//p' "scripts/${0##*/}"
}

# need_command COMMAND PACKAGE: notes the Debian package if the command is missing.
need_command() {
    command -v "$1" >/dev/null 2>&1 || missing="$missing $2"
}

# has_header HEADER: whether the C++ compiler finds it.
has_header() {
    printf '#if !__has_include(<%s>)\n#error not there\n#endif\n' "$1" |
        g++ -E -x c++ - >/dev/null 2>&1
}

# need_header HEADER PACKAGE: the same for a C++ header.
need_header() {
    has_header "$1" || missing="$missing $2"
}

need_build_tools() {
    need_command g++ g++
    need_command cmake cmake
    need_command ninja ninja-build
    need_command python3 python3
}

# For making and testing the package. lintian is used if it is installed.
need_package_tools() {
    need_command dpkg-shlibdeps dpkg-dev
    need_command file file
    need_command git git
    need_command man man-db
    need_command mandoc mandoc
    need_command zsh zsh
}

# For the test of docs/production.md. Only .ci/run installs its SSH server: Debian starts it at once, and a test
# must not open a developer's machine to the network.
need_production_tools() {
    need_command jq jq
    need_command parallel parallel
    need_command rsync rsync
    need_command ssh openssh-client
    need_command systemd-analyze systemd
    need_command udevadm udev
}

# install_missing: installs the packages noted so far. Prints nothing if there are none.
install_missing() {
    [ -n "$missing" ] || return 0
    as_root=""
    if [ "$(id -u)" -ne 0 ]; then
        as_root="sudo"
    fi
    if ! command -v apt-get >/dev/null 2>&1; then
        echo "Please install what corresponds to these Debian packages first:$missing" >&2
        return 1
    fi
    if [ -n "$as_root" ] && ! command -v sudo >/dev/null 2>&1; then
        echo "Please run this as root first: apt-get install$missing" >&2
        return 1
    fi
    echo "Installing with apt-get, which can take minutes:$missing"
    # A package source that fails to update may not be the one that has the packages.
    $as_root apt-get -qq update || true
    # The list of packages is split into words on purpose.
    # shellcheck disable=SC2086
    $as_root env DEBIAN_FRONTEND=noninteractive DEBCONF_NOWARNINGS=yes \
        apt-get -q install -y --no-install-recommends $missing || return 1
    missing=""
}

# install_clang: installs clang++ with the libraries of its sanitizers and fuzzer, and all else that is
# missing.
install_clang() {
    need_command clang++ clang
    install_missing || return 1
    # These libraries are in a separate package, named after the compiler's version.
    if ! echo 'extern "C" int LLVMFuzzerTestOneInput(const char*, unsigned long) { return 0; }' |
        clang++ -fsanitize=fuzzer,address -x c++ - -o /dev/null 2>/dev/null; then
        missing="libclang-rt-$(clang++ -dumpversion | cut -d. -f1)-dev"
        install_missing
    fi
}

need_test_headers() {
    need_header gtest/gtest.h libgtest-dev
    need_header gmock/gmock.h libgmock-dev
}

# configure_release: configures the release build, with the tests if their libraries are installed: only
# some scripts install them. Where gmock is, gtest is, too.
configure_release() {
    tests=ON
    if ! has_header gmock/gmock.h; then
        tests=OFF
    fi
    cmake --preset release -DBUILD_TESTING=$tests
}

# job_count: the number of jobs to run in parallel.
job_count() {
    nproc 2>/dev/null || echo 2
}
