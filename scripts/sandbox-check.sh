#!/usr/bin/env bash
# Sourced by run.sh and test.sh. The web engine runs its page processes in a bubblewrap sandbox;
# where bubblewrap cannot work (some containers and chroots), the engine would abort at the first
# page. There, and only there, run the pages without the sandbox, and say so.
if command -v bwrap >/dev/null 2>&1 && ! bwrap --ro-bind / / --dev /dev /bin/true >/dev/null 2>&1; then
  echo "Note: bubblewrap cannot create a sandbox here; web pages run without it."
  export WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1
fi
