#!/usr/bin/env bash
# Usage: tools/with-setup.sh [--peers FOLDER] [--preset NAME | --no-build] COMMAND...
#
# Brings a bare Debian 12 with Node.js to the point where COMMAND can run, then becomes COMMAND:
# Debian packages, npm packages (package-lock.json), the build of a CMake preset (default: release).
# Steps that are up to date cost one check and print nothing.
#
# The preset "product" needs the packages of tools/debian-packages.txt only, all else also those of
# debian-packages-test.txt, and the npm packages of tools/package-check. It is built in release's
# folder: each takes over what the other has built.
#
# --peers FOLDER: also the packages in its debian-packages.txt and package-lock.json.
#
# Prints to stderr only: standard output belongs to COMMAND. Any failed step ends it with 1.
#   LUMO_SYSTEM_PACKAGES=ready    skip the first step (systems without apt-get)
#   CMAKE_BUILD_PARALLEL_LEVEL=N  compile N files at a time
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
exec 3>&1 1>&2

peers=
if [ "${1-}" = --peers ]; then
  peers=${2:?--peers needs a folder}
  shift 2
fi
preset=release
case ${1-} in
  --preset) preset=${2:?--preset needs a name}; shift 2 ;;
  --no-build) preset=; shift ;;
esac
folder=build/${preset/product/release}
package_lists=(tools/debian-packages.txt)
[ "$preset" = product ] || package_lists+=(tools/debian-packages-test.txt)
[ -z "$peers" ] || package_lists+=("$peers/debian-packages.txt")
npm_folders=(${peers:+"$peers"})
[ "$preset" = product ] || npm_folders+=(tools/package-check)
[ $# -gt 0 ] || { sed -n '2,/^set/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 1; }

# step TEXT COMMAND...: runs COMMAND, with a line before it and one with the elapsed time after.
step() {
  local text=$1 started=$SECONDS
  shift
  echo "set-up: $text"
  "$@" || { echo "set-up: failed: $text"; exit 1; }
  echo "set-up: done in $((SECONDS - started)) s: $text"
}

missing_debian_packages() {
  local wanted installed
  wanted=$(sed 's/#.*//' "${package_lists[@]}")
  # shellcheck disable=SC2086 # a list of words
  installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' $wanted 2>/dev/null |
    sed -n 's/^installed //p')
  # shellcheck disable=SC2086
  printf '%s\n' $wanted | grep -vxF "$installed" || true
}

# Debian starts a service on port 80 as soon as nginx is installed. The examples and tests only need
# the program, so during this installation the helpers that package scripts call to start services
# skip nginx, and it is not started at boot either.
install_debian_packages() (
  as_root=()
  [ "$(id -u)" = 0 ] || as_root=(sudo)
  path=/usr/sbin:/usr/bin:/sbin:/bin
  helpers=$(mktemp -d)
  trap 'rm -r "$helpers"' EXIT
  for name in invoke-rc.d deb-systemd-invoke; do
    printf '#!/bin/sh\ncase "$*" in *nginx*) exit 0 ;; esac\nexec "%s" "$@"\n' \
      "$(PATH=$path command -v $name)" >"$helpers/$name"
    chmod 755 "$helpers/$name"
  done
  chmod 755 "$helpers"
  "${as_root[@]}" apt-get update -q || exit
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qy \
    --no-install-recommends -o DPkg::Path="$helpers:$path" "$@" || exit
  case " $* " in *" nginx "*) "${as_root[@]}" env PATH=$path update-rc.d nginx disable ;; esac
)

ensure_debian_packages() {
  if ! command -v apt-get >/dev/null; then
    cat <<END
set-up: this system has no apt-get. Install the counterparts of these Debian packages, then run
the same command again with LUMO_SYSTEM_PACKAGES=ready in its environment:

$(sed '/^#/d; /^$/d; s/^/  /' "${package_lists[@]}")
END
    exit 1
  fi
  local missing
  missing=$(missing_debian_packages | tr '\n' ' ')
  [ -n "$missing" ] || return 0
  if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
    echo "set-up: packages are missing and there is no sudo. Run as root:"
    echo "  apt-get install --no-install-recommends $missing"
    exit 1
  fi
  # shellcheck disable=SC2086
  step "installing Debian packages: $missing" install_debian_packages $missing
}

# npm writes its hidden lock file when an installation has completed.
ensure_npm_packages() {
  [ node_modules/.package-lock.json -nt package-lock.json ] ||
    step 'installing npm packages' npm ci --no-audit --no-fund
  local folder
  # The installation scripts of the peers' packages would download unused files.
  for folder in "${npm_folders[@]}"; do
    [ "$folder/node_modules/.package-lock.json" -nt "$folder/package-lock.json" ] ||
      step "installing npm packages of $folder" \
        npm ci --no-audit --no-fund --ignore-scripts --prefix "$folder"
  done
}

# ninja itself sees changed CMake files; the presets and the runtime whose headers the add-on is
# compiled with are not among them. A folder configured for tests is used for the product too.
ensure_configured() {
  local stamp=$folder/.configured-for wanted found
  wanted="$(node -p 'process.version + " " + process.execPath') $(cksum <CMakePresets.json)"
  found=$(cat "$stamp" 2>/dev/null || true)
  [ -f "$folder/build.ninja" ] &&
    [[ $found = "$preset $wanted" || $preset = product && $found = "release $wanted" ]] && return
  rm -f "$stamp"
  step "configuring $folder" cmake --preset "$preset" -U CMAKE_JS_INC
  echo "$preset $wanted" >"$stamp"
}

ensure_built() {
  local target=all
  [ "$preset" = product ] && target=product
  ensure_configured
  ninja -C "$folder" -n $target | grep 'no work to do' >/dev/null ||
    step "building $folder" cmake --build --preset "$preset"
}

[ "${LUMO_SYSTEM_PACKAGES-}" = ready ] || ensure_debian_packages
ensure_npm_packages
[ -z "$preset" ] || ensure_built
exec 1>&3 3>&-
# Debian keeps servers, such as nginx, outside of the PATH of ordinary users.
export PATH=$PATH:/usr/sbin
exec "$@"
