#!/usr/bin/env bash
# What the shell learns of kaleo: completion and manual page.
#
#   shell_test.sh KALEO
set -euo pipefail
kaleo=$1

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

"$kaleo" completion | bash -n || fail "the completion is no bash script"
source <("$kaleo" completion)

# completions WORD...: what is offered for the last word
completions() {
  COMP_WORDS=(kaleo "$@")
  COMP_CWORD=$#
  _kaleo
  echo "${COMPREPLY[*]}"
}
[ "$(completions sim)" = simulate ] || fail "kaleo sim completes to '$(completions sim)'"
case " $(completions simulate --) " in *" --events "*) ;; *) fail "simulate is not offered --events" ;; esac
case " $(completions inspect --) " in *" --events "*) fail "inspect is offered --events" ;; esac
(cd / && [ "$(completions check et)" = etc ]) || fail "files are not completed"

manual=$("$kaleo" manual)
for command in $("$kaleo" completion | sed -n 's/^    COMPREPLY=($(compgen -W "\(.*\)" -- "$word"))$/\1/p' | tr ' ' '\n' | grep -v '^-'); do
  grep -qF ".SS kaleo $command" <<<"$manual" || fail "the manual says nothing of kaleo $command"
done
if command -v groff >/dev/null; then
  warnings=$(groff -man -Tutf8 -ww <<<"$manual" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "groff says: $warnings"
fi
