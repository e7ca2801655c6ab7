#!/usr/bin/env bash
# What a press of the tab key offers, help that fits 80 columns, and what the linters say of the manual page.
# usage: words.sh VORLIN
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
while IFS='#' read -r offered words; do
  eval "set -- $words"
  expect "bash: $words" "$offered" "$(bash_offers vorlin "$@")"
done <<'EOF'
render|#re
--depth|--downsample|#render --d
8|16|32|#render --depth ''
low|#render --quality = l
honey|#render --preset ho
glass-thread|#sheet --preset g
Time\ Span\ \(sec\)=|#render --set 'Time\ S'
Time Span (sec)=|#render --set '"Ti'
my scene.json|#render my
fish|#completion f
EOF

if command -v zsh >/dev/null; then
  "$vorlin" completion zsh >_vorlin
  zsh -n _vorlin
  expect "zsh" "_vorlin" "$(zsh -fc 'autoload -U compinit && compinit -D -u && source ./_vorlin && print $_comps[vorlin]')"
fi
if command -v fish >/dev/null; then
  "$vorlin" completion fish >vorlin.fish
  fish_offers() { fish --no-config -c 'source vorlin.fish; complete -C $argv[1]' "$1" | cut -f 1 | tr '\n' '|'; }
  expect "fish: words" "8|16|32|" "$(fish_offers 'vorlin render --depth ')"
  expect "fish: controls" "Time Span (sec)=|" "$(fish_offers 'vorlin render --set Tim')"
fi

"$vorlin" man >vorlin.1
if command -v mandoc >/dev/null; then expect "mandoc" "" "$(mandoc -T lint -W warning vorlin.1 2>&1 | grep -v 'missing date' || true)"; fi
if command -v man >/dev/null; then expect "man" "" "$(LC_ALL=C.UTF-8 man --warnings -l vorlin.1 2>&1 >/dev/null)"; fi
commands=$("$vorlin" --help | sed -n '/^Subcommands/,$s/^  \([a-z-]*\) .*/\1/p')
expect "commands in the manual" "$(echo "$commands" | sort)" \
  "$(sed -n 's/^\.SS "vorlin \([a-z\\-]*\).*/\1/p' vorlin.1 | tr -d '\\' | sort)"
for command in '' $commands; do
  expect "lines too wide: $command" "" "$("$vorlin" $command --help | grep -E '.{81}' || true)"
done
exit $failed
