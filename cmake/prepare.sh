# What the scripts that build share; to be sourced, in the folder of the project.

# Complains if files of an earlier build can't be replaced, because they belong to somebody else.
check_build_folder() {
    local found
    if [ ! -e build ]; then
        [ -w . ] && return
        echo "this folder may not be written by $(id -un): $PWD"
        return 1
    fi
    found=$(find build ! -type l ! -writable -print -quit 2>&1)
    [ -z "$found" ] && return
    echo "$PWD/build was made by another user ($(stat -c %U build)): remove it, or build as that user"
    return 1
}

# Installs those of the packages given that are missing; names them if that can't be done.
install_missing() {
    local package log missing=() sudo=()
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    if [ "$(id -u)" -ne 0 ]; then
        sudo=(sudo)
        if ! command -v sudo >/dev/null; then
            echo "missing packages, to be installed by root: ${missing[*]}"
            return 1
        fi
        echo "sudo, which may ask for your password, is needed to install packages: ${missing[*]}" >&2
    else
        echo "installing packages: ${missing[*]}" >&2
    fi
    log=$("${sudo[@]}" apt-get update 2>&1
        "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y --no-install-recommends "${missing[@]}" 2>&1) && return
    echo "$log"
    echo "missing packages, which could not be installed: ${missing[*]}"
    return 1
}
