#!/usr/bin/env bash
# Installs what is missing and says so; does nothing when all is there.
#   tools/setup.sh ITEM...
# An item is a Debian package, or PACKAGE:COMMAND, which counts as there when the command is,
# wherever it came from. Exit status 1 when something is missing and cannot be installed.
set -euo pipefail

is_there() {
  case $1 in
    *:*) command -v "${1#*:}" >/dev/null ;;
    *) [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ] ;;
  esac
}

missing=()
for item in "$@"; do
  is_there "$item" || missing+=("${item%%:*}")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "Missing: ${missing[*]}. Install them, or run this as root or where sudo is." >&2
    exit 1
  fi
  as_root=(sudo)
fi
if ! command -v apt-get >/dev/null; then
  echo "Missing: ${missing[*]} (by their Debian names), and there is no apt-get here." >&2
  exit 1
fi

echo "Installing with apt-get: ${missing[*]}" >&2
apt() {
  ${as_root[@]+"${as_root[@]}"} env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0 "$@" </dev/null >&2
}
apt update || echo "The package lists could not be renewed; trying with the old ones." >&2
apt install -y --no-install-recommends "${missing[@]}"
