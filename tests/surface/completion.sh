#!/usr/bin/env bash
# What a press of the tab key offers, and what the linters say of the manual page.
# usage: completion.sh VORLIN
set -euo pipefail
vorlin=$1
failed=0

expect() {  # what, expected, got
  [ "$2" = "$3" ] && return
  printf '%s: expected "%s", got "%s"\n' "$1" "$2" "$3"
  failed=1
}

# The candidates of bash for the words given, between "|".
bash_offers() {
  bash -c '
    source <("$1" completion bash)
    shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    _vorlin
    printf "%s|" "${COMPREPLY[@]}"' _ "$vorlin" "$@"
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
touch "my scene.json"
expect "commands" "render|" "$(bash_offers vorlin re)"
expect "options" "--depth|--downsample|" "$(bash_offers vorlin render --d)"
expect "words" "8|16|32|" "$(bash_offers vorlin render --depth '')"
expect "words after =" "draft|" "$(bash_offers vorlin render --quality = d)"
expect "presets" "honey|" "$(bash_offers vorlin render --preset ho)"
expect "presets of sheets" "glass-thread|" "$(bash_offers vorlin sheet --preset g)"
expect "controls" 'Time\ Span\ \(sec\)=|' "$(bash_offers vorlin render --set 'Time\ S')"
expect "controls in quotes" "Time Span (sec)=|" "$(bash_offers vorlin render --set '"Ti')"
expect "files" "my scene.json|" "$(bash_offers vorlin render my)"
expect "shells" "fish|" "$(bash_offers vorlin completion f)"

if command -v zsh >/dev/null; then
  "$vorlin" completion zsh >_vorlin
  zsh -n _vorlin
  expect "zsh" "_vorlin" "$(zsh -fc 'autoload -U compinit && compinit -D -u && source ./_vorlin && print $_comps[vorlin]')"
fi
if command -v fish >/dev/null; then
  "$vorlin" completion fish >vorlin.fish
  fish_offers() { fish --no-config -c 'source vorlin.fish; complete -C $argv[1]' "$1" | cut -f 1 | tr '\n' '|'; }
  expect "fish: commands" "render|" "$(fish_offers 'vorlin re')"
  expect "fish: words" "8|16|32|" "$(fish_offers 'vorlin render --depth ')"
  expect "fish: controls" "Time Span (sec)=|" "$(fish_offers 'vorlin render --set Tim')"
  expect "fish: presets" "honey|" "$(fish_offers 'vorlin render --preset hon')"
fi

"$vorlin" man >vorlin.1
if command -v mandoc >/dev/null; then expect "mandoc" "" "$(mandoc -T lint -W warning vorlin.1 2>&1 | grep -v 'missing date' || true)"; fi
if command -v man >/dev/null; then expect "man" "" "$(LC_ALL=C.UTF-8 man --warnings -l vorlin.1 2>&1 >/dev/null)"; fi
expect "commands in the manual" "$("$vorlin" --help | sed -n '/^Subcommands/,$s/^  \([a-z-]*\) .*/\1/p' | sort)" \
  "$(sed -n 's/^\.SS "vorlin \([a-z\\-]*\).*/\1/p' vorlin.1 | tr -d '\\' | sort)"
exit $failed
