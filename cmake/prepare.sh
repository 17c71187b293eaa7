# What the scripts that build share. To be sourced in the folder of the project; complaints go to standard error.

# Complains if nothing can be built here: because the path of this folder holds a colon, which make splits its rules at,
# or because something that an earlier build left belongs to somebody else. The arguments are what is going to be written
# inside build/.
check_build_folder() {
    local place=. found
    if [[ $PWD == *:* ]]; then
        echo "the path of this folder holds a colon: $PWD" >&2
        return 1
    fi
    [ ! -e build ] || place=build
    found=$({ find "$place" -maxdepth 0 ! -writable
        find "$@" ! -type l ! -writable -print -quit; } 2>/dev/null | head -n 1) || true  # what isn't there yet
    [ -z "$found" ] && return
    found=$(readlink -f "$found")
    echo "$found belongs to $(stat -c %U "$found") and can't be written; remove it, or run as its owner" >&2
    return 1
}

# Installs those of the packages given that are missing; names them if that can't be done. A package counts as
# there if there is a command of its name.
install_missing() {
    local package log missing=() sudo=()
    for package in "$@"; do
        command -v "$package" >/dev/null ||
            dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "missing packages, to be installed by root: ${missing[*]}" >&2
            return 1
        fi
        sudo=(sudo)
        echo "missing packages: ${missing[*]}; if sudo asks for your password, it is to install them" >&2
    else
        echo "installing packages: ${missing[*]}" >&2
    fi
    log=$("${sudo[@]}" apt-get update 2>&1
        "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y --no-install-recommends "${missing[@]}" 2>&1) && return
    echo "$log" >&2
    echo "missing packages, which could not be installed: ${missing[*]}" >&2
    return 1
}
