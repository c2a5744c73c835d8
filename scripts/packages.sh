# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# To be sourced. require_packages PACKAGE... installs the Debian packages that are missing: as root,
# or with sudo where that needs no password. Otherwise it prints the one command to run, and ends
# the script.

require_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local prefix=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! sudo -n true 2>/dev/null; then
            echo "Missing packages. Run this, then try again:" >&2
            echo "    sudo apt-get install -y --no-install-recommends ${missing[*]}" >&2
            exit 1
        fi
        prefix=(sudo)
    fi
    echo "Installing ${missing[*]}"
    "${prefix[@]}" apt-get update -qq
    "${prefix[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
