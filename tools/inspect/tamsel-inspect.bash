# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# shellcheck shell=bash
# Bash completion for tamsel-inspect.

_tamsel_inspect()
{
    local current=$2 option=$3
    local layers="Runtime Rdm FeatureKeys SystemProperties CommandLineArgs CustomConfPersistent SelviDb
        RavonaConfDefault"
    local options="--storage --assets --snapshot --rdm --feature-keys --set --layer --get --explain --diff
        --diff-assets --changes --overridden --redact --json --wide --no-color --help --version"
    # "--diff=x" is three words for bash.
    if [[ $current == = ]]; then
        option=${COMP_WORDS[COMP_CWORD - 1]} current=
    elif [[ $option == = ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $option in
        --storage | --assets | --diff-assets)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            ;;
        --snapshot | --rdm | --feature-keys | --diff)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
        --layer)
            mapfile -t COMPREPLY < <(compgen -W "$layers" -- "$current")
            ;;
        --set) # the layers without a file
            compopt -o nospace 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -S : \
                -W "Runtime Rdm FeatureKeys SystemProperties CommandLineArgs" -- "$current")
            ;;
        --get | --explain | --redact)
            COMPREPLY=()
            ;;
        *)
            COMPREPLY=()
            if [[ $current == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
            fi
            ;;
    esac
}
complete -F _tamsel_inspect tamsel-inspect
