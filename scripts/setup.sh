# shellcheck shell=sh
# What ./run, ./test and .ci/run share; they source it with the project's root
# in $root.
: "${root:?}"

# need_packages PACKAGE...: sees to it that these Debian packages are installed.
# Root installs what is missing; others are told what to ask for.
need_packages() {
  command -v dpkg-query >/dev/null || return 0
  missing=
  for package; do
    status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null) || status=
    [ "$status" = installed ] || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  if [ "$(id -u)" -ne 0 ]; then
    echo "Some packages are missing. As root: apt-get install$missing" >&2
    return 1
  fi
  mkdir -p "$root/build"
  # shellcheck disable=SC2086  # one word each
  logged "$root/build/packages.log" install_packages $missing
}

# The package lists are fetched only where the ones at hand do not do.
install_packages() {
  export DEBIAN_FRONTEND=noninteractive
  apt-get install --yes --no-install-recommends "$@" </dev/null && return
  apt-get update && apt-get install --yes --no-install-recommends "$@" </dev/null
}

# need_packages_for_preset PRESET: those that building and testing it takes.
need_packages_for_preset() {
  need_packages cmake g++ libboost-context-dev libgmock-dev libgtest-dev libicu-dev locales \
    ninja-build python3 uuid-dev zlib1g-dev
  case $1 in
    clang) need_packages clang ;;
  esac
}

# build PRESET [TARGET...]: configures and builds, everything by default. Prints
# nothing unless it fails.
build() {
  preset=$1
  shift
  mkdir -p "$root/build/$preset"
  logged "$root/build/$preset/build.log" configure_and_build "$preset" "$@"
}

configure_and_build() (
  cd "$root" || exit
  preset=$1
  shift
  [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" || exit
  [ $# -eq 0 ] || set -- --target "$@"
  cmake --build --preset "$preset" "$@"
)

# logged LOG COMMAND...: runs it with its output in LOG, shown where it fails.
logged() {
  log=$1
  shift
  "$@" >"$log" 2>&1 && return
  cat "$log" >&2
  echo "Failed: $* (log: $log)" >&2
  return 1
}
