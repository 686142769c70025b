#!/usr/bin/env bash
# What the shell learns of kaleo: completion and manual page. zsh and fish are asked, too, where they are installed.
#
#   shell_test.sh KALEO
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/bin" "$scratch/files/serve"
ln -s "$1" "$scratch/bin/kaleo"
export PATH="$scratch/bin:$PATH"
touch "$scratch/files/a b.json"
cd "$scratch/files"

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

for shell in bash fish zsh; do kaleo completion "$shell" >"$scratch/completion.$shell"; done
export scratch
bash -n "$scratch/completion.bash" || fail "the completion is no bash script"
source "$scratch/completion.bash"

# in_SHELL LINE: what the last word of LINE becomes; the line has no quotes

in_bash() {
  read -ra COMP_WORDS <<<"$1"
  [ "${1% }" = "$1" ] || COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _kaleo
  echo "${COMPREPLY[*]-}"
}

in_fish() {
  fish -c 'source $scratch/completion.fish; complete -C $argv' "$1" | cut -f1
}

# One that is interactive, in a terminal of its own: its completion works nowhere else.
in_zsh() {
  zsh -f -c '
    zmodload zsh/zpty
    zpty shell "TERM=dumb zsh -f -i"
    zpty -w shell "autoload -Uz compinit; compinit -u -D; source \$scratch/completion.zsh
      show() { print -r -- \"LINE[\$BUFFER]\" }; zle -N show; bindkey ^X show; print READY\$((1 + 1))"
    zpty -r shell out "*READY2*"
    zpty -w -n shell "$1"$'"'\t\x18'"'
    zpty -r shell out "*LINE\[*\]*"
    line=${${out##*LINE\[}%%\]*}
    [[ $line = $1 ]] || print -r -- ${(Q)${${line#${1% *} }% }}' - "$1"
}

for shell in bash fish zsh; do
  command -v "$shell" >/dev/null || continue
  while IFS='|' read -r line wanted; do
    got=$(in_"$shell" "$line")
    [ "${got%/}" = "$wanted" ] || fail "$shell completes '$line' to '$got'"
  done <<'END'
kaleo sim|simulate
kaleo explain --pl|--plan
kaleo explain --json --us|--user
kaleo completion z|zsh
kaleo run --delegate re|refuse
kaleo inspect --key a|a b.json
kaleo serve s|serve
kaleo serve a|
kaleo explain --plan a|
END
done
case " $(in_bash "kaleo inspect --") " in *" --events "*) fail "inspect is offered --events" ;; esac

manual=$(kaleo manual)
for command in $(in_bash "kaleo " | tr ' ' '\n' | grep -v '^-'); do
  grep -qF ".SS kaleo $command" <<<"$manual" || fail "the manual says nothing of kaleo $command"
done
if command -v groff >/dev/null; then
  warnings=$(groff -man -Tutf8 -ww <<<"$manual" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "groff says: $warnings"
fi
