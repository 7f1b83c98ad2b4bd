#!/usr/bin/env bash
# Two processes: one publishes tests/data/demo.jsonl, the other listens for its two markets and shows the records typed.
# Then the listener is asked as operations would ask it: whether it is there, and to switch negative acknowledgements.
# Ends with 0 only if everything that was sent is accounted for at the listener, kind by kind, and both were answered.
set -euo pipefail
cd "$(dirname "$0")/.."

echo "== building"
cmake --preset dev >/dev/null
cmake --build --preset dev --target qxnotify -- --quiet
qxnotify=build/dev/tools/qxnotify/qxnotify
records=tests/data/demo.jsonl

work=$(mktemp -d)
listener=
finish() {
    [ -z "$listener" ] || kill "$listener" 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT

# A domain of our own: nobody else's records, whatever runs on this machine.
cat >"$work/transport.xml" <<XML
<um-configuration version="1.0"><applications><application name="demo"><contexts>
  <context name="PriceEnvironmentContext"><options type="context">
    <option name="domain_tag" default-value="demo-$$-$RANDOM$RANDOM"/>
  </options></context>
</contexts></application></applications></um-configuration>
XML
export LBM_XML_CONFIG_FILENAME=$work/transport.xml LBM_XML_CONFIG_APPNAME=demo
# Where operations requests find the listener.
export CHEF_ENVIRONMENT=demo DATA_CENTER=here
unset DISABLE_LBM_TRIAGE_HANDLER LBM_TRIAGE_HANDLER_TOPIC_PREFIX

colour=never
[ -t 1 ] && [ -z "${NO_COLOR:-}" ] && colour=always

# The last line of the file is a record that is delivered, so with the last one printed everything before it has come.
"$qxnotify" publish --dry-run --summary json "$records" >/dev/null 2>"$work/forecast" || [ $? -eq 5 ]
deliverable=$(python3 scripts/demo_summary.py deliverable "$work/forecast")

# Deleted records are told of in the log only, at the lowest level.
mkfifo "$work/pipe"
QX_LOG_LEVEL=QXLOG_DEBUG QX_LOG_FILE=$work/listener.log \
    "$qxnotify" listen 42 7 --colour "$colour" --timeout 180 >"$work/pipe" 2>"$work/listener.err" &
listener=$!
exec 3<"$work/pipe"

fail() {
    cat "$work/listener.err" >&2
    echo "demo: $1" >&2
    exit 1
}

timeout 60 grep -qm1 'listening for market' <(tail -n +1 -f --pid="$listener" "$work/listener.err") ||
    fail "the listener did not come up"
echo "== publishing $(wc -l <"$records") lines of $records to markets 42 and 7"
published=0
"$qxnotify" publish --summary json --wait-for-listener 60 "$records" >"$work/published" || published=$?
# 5: some lines were refused. The file has such lines on purpose.
[ "$published" -eq 5 ] || fail "qxnotify publish ended with exit code $published"

echo "== received, typed"
for ((i = 0; i < deliverable; ++i)); do
    IFS= read -r -t 60 record <&3 || fail "only $i of $deliverable records came"
    printf '%s\n' "$record" | tee -a "$work/records"
done

echo "== asked whether it is there"
"$qxnotify" triage ping --expect 1 --wait 20 --count 5 --interval 0.1 || fail "nobody answered the ping"
echo "== asked to switch negative acknowledgements off"
"$qxnotify" triage naks off --contexts price --yes --expect 1 --wait 20 || fail "nobody answered the NAK request"

kill -TERM "$listener"
cat <&3 >>"$work/records" # none, unless there were too many
listened=0
wait "$listener" || listened=$?
listener=
[ "$listened" -eq 0 ] || fail "qxnotify listen ended with exit code $listened"
echo "== warned of by the listener"
grep -F ' WARNING ' "$work/listener.log" | sed 's/^.*QXNOTIFY | /  /'
echo "== what the listener logged about the last request"
sed -n '/handling TriageNakKillRequest/,/responding to TriageNakKillRequest/s/^[^ ]* [0-9]* /  /p' "$work/listener.log"

echo "== sum"
python3 scripts/demo_summary.py sum "$records" "$work/published" "$work/records" "$work/listener.log"
