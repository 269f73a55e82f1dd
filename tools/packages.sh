# What the project needs of Debian and of npm, and how it gets there. Sourced by dev.

# To build and run the library, the collector and the examples.
build_packages=(build-essential cmake ninja-build ccache mold pkg-config ca-certificates
  libcurl4-openssl-dev libsqlite3-dev libssl-dev libpcre2-dev rapidjson-dev
  libcpp-httplib-dev curl jq
  qt6-base-dev qt6-declarative-dev fonts-dejavu-core
  qml6-module-qtquick{,-controls,-layouts,-templates,-window}
  qml6-module-qtqml{,-models,-workerscript})
# To test, measure and check it.
check_packages=(git python3 libgtest-dev libbenchmark-dev clang-14 libclang-rt-14-dev
  clang-format-14 chromium iproute2 systemd-journal-remote)
# Node.js at or above this builds the viewer. A machine's own is used before Debian's.
node_minimum=18

missing_packages() {
  local package
  for package in "$@"; do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
      echo "$package"
  done
}

have_node() {
  local version
  command -v npm >/dev/null && version=$(node --version 2>/dev/null) || return 1
  version=${version#v}
  ((${version%%.*} >= node_minimum))
}

# install PACKAGE...: installs those that are missing; without any it touches nothing.
install() {
  command -v dpkg-query >/dev/null || return 0 # elsewhere the packages are the user's to provide
  local wanted=("$@") missing root=()
  have_node || wanted+=(nodejs npm)
  mapfile -t missing < <(missing_packages "${wanted[@]}")
  ((${#missing[@]})) || return 0
  ((EUID == 0)) || root=(sudo)
  echo "Installing ${missing[*]}"
  "${root[@]}" apt-get update -qq
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

install_for_build() { install "${build_packages[@]}"; }
install_all() { install "${build_packages[@]}" "${check_packages[@]}"; }
