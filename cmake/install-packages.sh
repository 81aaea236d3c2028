#!/bin/bash
# Installs the Debian packages that the project needs, where they are missing. The one list of them; arguments are
# further packages.
set -euo pipefail

packages=(
  cmake g++ ninja-build pkg-config ccache       # build
  libsqlite3-dev libxxhash-dev                  # database
  libcli11-dev nlohmann-json3-dev libexodusii-dev libexpat1-dev libpng-dev zlib1g-dev libjs-three libtbb-dev # program
  libmetis-dev                                  # split models
  help2man                                      # man pages
  libgtest-dev librapidcheck-dev zsh fish       # tests
  libopenmpi-dev                                # split models on several processes
  python3-dev python3-venv                      # Python package
  "$@"
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [[ $status == "install ok installed" ]] || missing+=("$package")
done
((${#missing[@]} == 0)) && exit 0

echo "Installing ${missing[*]}"
sudo=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || { echo "Not root and no sudo: please install ${missing[*]}" >&2; exit 1; }
  sudo=(sudo)
fi
"${sudo[@]}" apt-get update -q
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
