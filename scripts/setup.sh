# Sourced by the other scripts: goes to the top of the tree and installs what Debian 12 needs
# to build and test the project. Does nothing where all of it is there. A script that needs more
# names it in extra_packages.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

packages=(
    cmake ninja-build     # the build
    clang-14              # the compiler that the project is written for
    help2man              # man pages from the programs' help
    clang-format-14       # the formatter of scripts/check-format
    clang-tidy-14         # finds faults for scripts/check-tidy
    libclang-rt-14-dev    # the sanitizers' run-time libraries, and libFuzzer
    hidl-gen              # compiles the .hal interface definitions
    pkgconf               # the install test uses the pkg-config file
    libmsgsl-dev          # span and not_null, part of the client API
    libcli11-dev          # command lines of sensorctl, the simulator and the soak
    libfmt-dev            # text output of the same and of the benchmarks
    libeigen3-dev         # geometry of the simulated world
    libpng-dev            # camera images of captures and recordings
    nlohmann-json3-dev    # JSON output of sensorctl, descriptions of recordings
    libyaml-cpp-dev       # sensor.yaml of EuRoC data sets, figures of simulated sensors
    pybind11-dev          # the Python module
    python3-dev python3-numpy python3-pytest
    libgtest-dev libgmock-dev
    android-libutils-dev  # published headers that the host layer is held to
    libbenchmark-dev      # timing of the data paths in bench
    valgrind              # instruction counts of the data paths in bench
    strace                # records the fuzz targets' seeds
    doxygen               # scripts/make-api-reference
    gnuplot-nox           # the pictures of docs/simulation.md
)

missing=()
for package in "${packages[@]}" ${extra_packages[@]+"${extra_packages[@]}"}; do
    status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$package")
done
if [ "${#missing[@]}" -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "error: these packages are missing and need root to install: ${missing[*]}" >&2
            exit 1
        }
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# build PRESET [TARGET ...]: configures and builds, with the configuration's output only if it fails.
build() {
    local preset=$1
    shift
    echo "Building ($preset)"
    local output
    output=$(cmake --preset "$preset" 2>&1) || {
        echo "$output" >&2
        return 1
    }
    cmake --build --preset "$preset" ${1:+--target "$@"}
}
