# Sourced first by a test that runs on an X screen. Skips it (exit 77) when Xvfb, the session bus
# or one of `tools` is missing; otherwise runs it again, with its own arguments, under a private
# session bus and an Xvfb screen of `screen` (WIDTHxHEIGHT), in a runtime folder of its own
# (VELMORA_TEST_RUNTIME): the session's accessibility bus puts its socket there, so that tests
# running side by side each talk to their own.
for tool in xvfb-run dbus-run-session "${tools[@]}"; do
  command -v "$tool" >/dev/null ||
    { echo "SKIP: $tool is not installed (scripts/install-deps.sh installs it)"; exit 77; }
done
if [ -z "${VELMORA_IN_XVFB:-}" ]; then
  export VELMORA_IN_XVFB=1
  VELMORA_TEST_RUNTIME=$(mktemp -d) && export VELMORA_TEST_RUNTIME XDG_RUNTIME_DIR=$VELMORA_TEST_RUNTIME
  exec dbus-run-session -- xvfb-run -a -s "-screen 0 ${screen}x24" bash "$0" "$@"
fi
