#!/usr/bin/env bash
# Sets up a Debian 12 machine for Brindlewick, builds it, and then runs what
# was asked for:
#   ./setup.sh          install what is missing and build
#   ./setup.sh run      ... then start Brindlewick
#   ./setup.sh test     ... then run the whole test suite
#   ./setup.sh bench    ... then run the benchmarks (see bench/README.md)
#   ./setup.sh fuzz     ... only the fuzz targets instead, each run a while (fuzz/run)
#   ./setup.sh check    ... then check formatting and run clang-tidy (tools/check)
#   ./setup.sh sanitize ... the unit tests instead, built with ASan and UBSan
#   ./setup.sh package  ... a Debian package instead: builds build-package/*.deb
# It installs only missing packages, runs apt-get update at most once, and
# needs no input (it uses sudo when not run as root).
set -euo pipefail
cd "$(dirname "$0")"

# Build and run-time dependencies (the README says why each is there).
PACKAGES=(
  g++ cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-qpa-plugins qt6-image-formats-plugins libqt6svg6
  qt6-tools-dev qt6-l10n-tools
  libglib2.0-dev
  libtesseract-dev libleptonica-dev tesseract-ocr-eng
  libxcb1-dev
  libsimdjson-dev libspng-dev libisal-dev
)
# Only for the end-to-end tests: a virtual X server and a key sender; a
# window manager, a panel with tasks and a tray, xprop and a screen reader
# (import) for the tests on a real desktop; the screenshot tools the program
# points at Home, and dconf to read one back; a Markdown parser and a
# clipboard client to read what the program copies. Two Wayland compositors
# run headless (weston, sway) with XWayland, their screen capture (grim;
# weston brings its own), Qt's Wayland platform and xhost to let the tests
# into the XWayland of sway's user. Python makes the pseudo catalogue
# (tools/pseudo-translate); a Japanese font draws the windows in Japanese
# on a bare X server (tools/snapshots-i18n).
TEST_PACKAGES=(xvfb xauth xdotool dbus-x11 desktop-file-utils appstream
  openbox tint2 x11-utils imagemagick
  flameshot gnome-screenshot kde-spectacle dconf-cli cmark xclip
  weston sway grim xwayland qt6-wayland x11-xserver-utils
  at-spi2-core python3-pyatspi python3-gi gir1.2-gnomedesktop-3.0
  python3 fonts-ipafont-gothic)
# Only for the Debian package: dpkg-shlibdeps computes its dependencies,
# dpkg-buildflags the hardening flags; lintian checks the result.
PACKAGE_PACKAGES=(dpkg-dev file lintian)
# Only for benchmarks: the reference tools they are measured against.
BENCH_PACKAGES=(tesseract-ocr libvips-tools python3 findutils)
# Only for the fuzz targets: clang with libFuzzer and the sanitizers' runtimes.
FUZZ_PACKAGES=(clang libclang-rt-14-dev)
# Only for the code checks: the formatter and the linter (with run-clang-tidy).
CHECK_PACKAGES=(clang-format clang-tidy)

action="${1:-build}"
wanted=("${PACKAGES[@]}")
case "$action" in
  test) wanted+=("${TEST_PACKAGES[@]}") ;;
  bench) wanted+=("${TEST_PACKAGES[@]}" "${BENCH_PACKAGES[@]}") ;;
  package) wanted+=("${PACKAGE_PACKAGES[@]}") ;;
  fuzz) wanted+=("${FUZZ_PACKAGES[@]}") ;;
  check) wanted+=("${CHECK_PACKAGES[@]}") ;;
  sanitize) wanted+=("${TEST_PACKAGES[@]}") ;;
  run|build) ;;
  *) echo "usage: $0 [build|run|test|bench|package|fuzz|check|sanitize]" >&2; exit 2 ;;
esac

missing=()
for pkg in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done
if ((${#missing[@]})); then
  apt=(env DEBIAN_FRONTEND=noninteractive apt-get)
  [[ $(id -u) -eq 0 ]] || apt=(sudo "${apt[@]}")
  echo "Installing: ${missing[*]}"
  # A fresh machine has no package lists yet; fetch them only then.
  if ! "${apt[@]}" install -y --no-install-recommends "${missing[@]}"; then
    "${apt[@]}" update
    "${apt[@]}" install -y --no-install-recommends "${missing[@]}"
  fi
fi

if [[ "$action" == package ]]; then
  # Its own build folder: installed paths under /usr, no tests.
  PACKAGE_DIR="${BRINDLEWICK_PACKAGE_DIR:-build-package}"
  # Debian's hardening: stack protector, fortified calls, PIE (the
  # compiler's default), read-only relocations bound at start.
  export DEB_BUILD_MAINT_OPTIONS=hardening=+all
  launcher=()
  command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake -S . -B "$PACKAGE_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_INSTALL_PREFIX=/usr -DBRINDLEWICK_TESTS=OFF "${launcher[@]}" \
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)" \
    -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" >/dev/null
  cmake --build "$PACKAGE_DIR"
  rm -f "$PACKAGE_DIR"/brindlewick_*.deb
  (cd "$PACKAGE_DIR" && cpack -G DEB >/dev/null)
  deb=$(ls -1 "$(cd "$PACKAGE_DIR" && pwd)"/brindlewick_*.deb)
  # Debian's own checks of the package; any error or warning fails.
  lintian --fail-on error,warning "$deb" >&2
  echo "$deb"
  exit 0
fi

# Its own build folder and only the sources the targets need.
if [[ "$action" == fuzz ]]; then
  exec fuzz/run
fi

# The unit tests built with AddressSanitizer and UBSan, in a folder of their
# own. The tests that start the whole program on a virtual display (test_e2e_*)
# are left out: under the sanitizers they outrun their time limits.
if [[ "$action" == sanitize ]]; then
  SANITIZE_DIR="${BRINDLEWICK_SANITIZE_DIR:-build-sanitize}"
  launcher=()
  command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake -S . -B "$SANITIZE_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" \
    -DBRINDLEWICK_SANITIZE=address,undefined >/dev/null
  cmake --build "$SANITIZE_DIR"
  # Leaks are reported too; the suppressions name the system libraries'
  # own, which are not ours to fix.
  export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
  export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp:print_suppressions=0"
  export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
  exec ctest --test-dir "$SANITIZE_DIR" --output-on-failure -j2 -E '^test_e2e_'
fi

BUILD_DIR="${BRINDLEWICK_BUILD_DIR:-build}"
# CI lets no compiler warning through.
werror=OFF
[[ "${CI:-}" == true ]] && werror=ON
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DBRINDLEWICK_WERROR="$werror" >/dev/null
cmake --build "$BUILD_DIR"

case "$action" in
  run) exec "$BUILD_DIR/src/brindlewick" ;;
  test) exec ctest --test-dir "$BUILD_DIR" --output-on-failure ;;
  bench) exec bench/run "$BUILD_DIR" ;;
  check) exec tools/check "$BUILD_DIR" ;;
esac
