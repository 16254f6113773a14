# What demo and check share.

# ensure_packages <package>...: installs through apt what is missing, or says what to type.
# On systems without dpkg the tools are taken as they are.
ensure_packages() {
  command -v dpkg-query >/dev/null || return 0
  local package missing=()
  for package in "$@"; do
    dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  if [ "$(id -u)" -ne 0 ]; then
    echo "Some packages are missing. Install them and try again:" >&2
    echo "  sudo apt-get install ${missing[*]}" >&2
    exit 1
  fi
  echo "Installing ${missing[*]}"
  local log
  log=$(mktemp)
  if ! { apt-get update && DEBIAN_FRONTEND=noninteractive \
      apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    cat "$log" >&2
    echo "Installing failed: ${missing[*]}" >&2
    exit 1
  fi
  rm -f "$log"
}

# offer_packages <purpose> <package>...: the same, but goes on without them: what needs them is skipped.
offer_packages() {
  local purpose=$1
  shift
  (ensure_packages "$@") || echo "Going on without ${purpose}." >&2
}

# run_quietly <log> <command>...: the command's output goes to the log and is shown when it fails.
run_quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 || {
    cat "$log" >&2
    echo "failed: $*" >&2
    exit 1
  }
}
