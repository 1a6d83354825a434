# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT
# shellcheck shell=bash

# need PACKAGE...: installs those of the given Debian packages that are not installed yet.
need()
{
    local missing=() package
    for package in "$@"; do
        # shellcheck disable=SC2016 # the braces are dpkg-query's
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] \
            || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    if ! command -v apt-get >/dev/null; then
        echo "this machine has no apt-get; install these packages (Debian's names): ${missing[*]}" >&2
        return 1
    fi
    local root=()
    ((EUID == 0)) || root=(sudo)
    if ((EUID != 0)) && ! command -v sudo >/dev/null; then
        echo "installing ${missing[*]} needs root or sudo" >&2
        return 1
    fi
    echo "installing ${missing[*]}" >&2
    local install=("${root[@]}" env DEBIAN_FRONTEND=noninteractive
        apt-get install -qq --no-install-recommends "${missing[@]}")
    # Fetching the package lists takes longest, so do it only if the present ones do not suffice.
    if "${install[@]}" --download-only >/dev/null 2>&1; then
        "${install[@]}" >&2
    else
        "${root[@]}" apt-get update -qq >&2
        "${install[@]}" >&2
    fi
}

# Prints the archive that this machine uses. A security archive is not printed: it has too few
# packages for a root.
debian_archive()
{
    # shellcheck disable=SC2016 # the variables are apt's
    apt-get indextargets --format '$(LABEL) $(REPO_URI)' 'Created-By: Packages' \
        | awk '$1 == "Debian" && !found++ { print $2 } END { exit !found }' \
        || { echo "apt names no Debian archive on this machine" >&2; return 1; }
}

# What the README's commands need besides git and a shell.
# shellcheck disable=SC2034 # for the scripts that read this file
build_packages=(g++ cmake ninja-build qt6-base-dev)
# shellcheck disable=SC2034
test_packages=(librapidcheck-dev pkg-config)
# shellcheck disable=SC2034
bench_packages=(libbenchmark-dev valgrind python3)
# What the QML module, its tests and its example need: the stage qml of CI, scripts/pictures, and the packages.
# shellcheck disable=SC2034
qml_packages=(qt6-declarative-dev qt6-declarative-dev-tools libgl-dev fonts-dejavu-core
    qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript qml6-module-qtquick
    qml6-module-qtquick-controls qml6-module-qtquick-layouts qml6-module-qtquick-templates
    qml6-module-qtquick-window qml6-module-qttest)
