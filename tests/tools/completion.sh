#!/bin/bash
# Every option that --help shows, of every sub-command, is offered by the completion of every shell.
# Arguments: the program, the folder with what it says of itself.
set -euo pipefail
tool=$1 scripts=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
PATH=$(dirname "$tool"):$PATH
failed=0

zsh -n "$scripts/_coregeometry"
# shellcheck disable=SC1091
source "$scripts/coregeometry"

# bash: what is offered behind some words
offer_bash() {
  COMP_WORDS=(coregeometry "$@") COMP_CWORD=$# COMPREPLY=()
  _coregeometry
  printf '%s\n' "${COMPREPLY[@]}"
}
# fish: the same; it prints a description behind a tab
offer_fish() {
  fish --no-config -c "source $scripts/coregeometry.fish; complete -C 'coregeometry $*'" | cut -f 1
}

mapfile -t commands < <("$tool" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
((${#commands[@]} > 15))
for command in "${commands[@]}"; do
  mapfile -t options < <("$tool" "$command" --help | grep -oE '^  (-[a-z],)?--[a-z-]+' | grep -oE '\-\-[a-z-]+')
  ((${#options[@]} > 0))
  for shell in bash fish; do
    names=$("offer_$shell" "")
    offered=$("offer_$shell" "$command" "--")
    grep -qx "$command" <<<"$names" || { echo "$shell: $command is not offered"; failed=1; }
    for option in "${options[@]}"; do
      grep -qxe "$option" <<<"$offered" || { echo "$shell: $command $option is not offered"; failed=1; }
    done
  done
  # not through a pipe: grep ends at the first match, and sed with a signal
  section=$(sed -n "/^ *$command)\$/,/;;\$/p" "$scripts/_coregeometry")
  for option in "${options[@]}"; do
    grep -qe "$option" <<<"$section" || { echo "zsh: $command $option is not offered"; failed=1; }
  done
  man -l "$scripts/coregeometry-$command.1" 2>/dev/null | grep -q -- "coregeometry $command" ||
    grep -q "coregeometry.* $command" "$scripts/coregeometry-$command.1" || { echo "no page of $command"; failed=1; }
done
written=$("$1" formats | sed -nE 's/^([a-z0-9]+): .*written$/\1/p')
[[ -n $written && $(offer_bash export --format "") == "$written" ]] || { echo "bash: the formats of export are not offered"; failed=1; }
exit $failed
