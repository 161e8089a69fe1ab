# What the scripts share; sourced, not run. Sets $root, the project's folder.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# What the program is built from and runs on. script/package looks whether debian/control has it, too.
program_packages=(
  g++ gobjc++ cmake ninja-build pkg-config
  libgnustep-base-dev libgnustep-gui-dev
  libegl-dev libegl1 libegl-mesa0 libgl1-mesa-dri
  libavfilter-dev libavformat-dev libavcodec-dev libavutil-dev libswresample-dev libswscale-dev
  libdeflate-dev libtiff-dev libopenexr-dev libimath-dev libzimg-dev
  libpango1.0-dev libcairo2-dev librsvg2-dev librsvg2-bin fonts-dejavu-core libimagequant-dev
  libfftw3-dev
  frei0r-plugins-dev libmlt-dev
  libcli11-dev nlohmann-json3-dev libxxhash-dev libcsv-dev
  libboost-dev libturbojpeg0-dev
)

# What the tests and benchmarks need besides: a second compiler, the frameworks, a backend for AppKit's buttons, programs
# that look at what ours writes, and the shells that complete its command lines.
test_packages=(
  clang clang-format libgtest-dev libgmock-dev libbenchmark-dev libwebp-dev zlib1g-dev python3-jsonschema
  gnustep-back0.29-cairo ffmpeg melt
  gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad parallel
  slurmctld slurmd slurm-client munge
  groff-base zsh fish appstream desktop-file-utils shared-mime-info libglib2.0-bin
)

# To make Debian packages, and to try them in a system of their own. script/package and "script/test package" alone install them.
package_packages=(dpkg-dev debhelper lintian mmdebstrap)

# Browsers, and what drives them through the studio's page.
browser_packages=(chromium firefox-esr ffmpeg fonts-dejavu-core)
node_packages=(nodejs npm)

# To run the kernels for ARM here.
arm_packages=(g++-aarch64-linux-gnu qemu-user googletest)

# install_missing PACKAGE…: installs those that are not there, saying so; does nothing otherwise.
install_missing() {
  local package missing=() as_root=()
  for package; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  if ! command -v apt-get >/dev/null; then
    echo "These packages of Debian 12 are needed, or what your system calls them: ${missing[*]}" >&2
    return 1
  fi
  if ((EUID != 0)); then
    as_root=(sudo)
    echo "Installing with sudo: ${missing[*]}" >&2
  else
    echo "Installing: ${missing[*]}" >&2
  fi
  "${as_root[@]}" apt-get update -qq >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# The version that CMakeLists.txt gives the project.
project_version() { sed -n 's/^project(pyrelux VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt"; }

# build PRESET [TARGET…]: configures once and builds what has changed; prints only what went wrong.
build() {
  local preset=$1 log
  shift
  log=$(mktemp)
  if ! (cd "$root" &&
        { [[ -f build/$preset/build.ninja ]] || cmake --preset "$preset"; } &&
        cmake --build --preset "$preset" ${1:+--target "$@"}) >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}
