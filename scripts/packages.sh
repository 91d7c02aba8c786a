# shellcheck shell=bash
# Sourced by the commands at the top: makes sure that the packages they build with are there.

# need_packages NAME...: installs with apt what is missing, as root; else says what to install.
need_packages() {
  local missing=()
  local name
  for name in "$@"; do
    dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'install ok installed' ||
      missing+=("$name")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -ne 0 ] || ! command -v apt-get >/dev/null; then
    echo "$0: needs packages that are not installed. Install them:" >&2
    echo "  sudo apt-get install ${missing[*]}" >&2
    return 1
  fi
  echo "installing ${missing[*]}" >&2
  apt-get -qq update &&
    DEBIAN_FRONTEND=noninteractive apt-get -qq install --no-install-recommends "${missing[@]}" \
      >/dev/null
}
