# What the scripts share; source it. Afterwards the current directory is the project's.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi

# quietly <command...>: what the command prints is shown only when it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 </dev/null || status=$?
  if ((status != 0)); then
    cat "$log" >&2
    echo "failed ($status): $*" >&2
  fi
  rm -f "$log"
  return "$status"
}

# build <preset> [<target>...]: configures the preset and builds it, or only these targets.
build() {
  local preset=$1
  shift
  quietly cmake --preset "$preset"
  quietly cmake --build --preset "$preset" --parallel "$(nproc)" ${@:+--target "$@"}
}
