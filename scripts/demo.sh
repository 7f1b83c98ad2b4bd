#!/usr/bin/env bash
# Two processes: one publishes tests/data/demo.jsonl, the other listens for its two markets and shows the records typed.
# Ends with 0 only if everything that was sent is accounted for at the listener, kind by kind.
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

colour=never
[ -t 1 ] && [ -z "${NO_COLOR:-}" ] && colour=always

# The last line of the file is a record that is delivered, so with the last one counted everything before it has come.
"$qxnotify" publish --dry-run --summary json "$records" >/dev/null 2>"$work/forecast" || [ $? -eq 5 ]
deliverable=$(python3 scripts/demo_summary.py deliverable "$work/forecast")

# Deleted records are told of in the log only, at the lowest level.
QX_LOG_LEVEL=QXLOG_DEBUG QX_LOG_FILE=$work/listener.log \
    "$qxnotify" listen 42 7 --colour "$colour" --count "$deliverable" --timeout 60 \
    >"$work/records" 2>"$work/listener.err" &
listener=$!

echo "== publishing $(wc -l <"$records") lines of $records to markets 42 and 7"
published=0
"$qxnotify" publish --summary json --wait-for-listener 60 "$records" >"$work/published" || published=$?
# 5: some lines were refused. The file has such lines on purpose.
[ "$published" -eq 5 ] || { echo "demo: qxnotify publish ended with exit code $published" >&2; exit 1; }

listened=0
wait "$listener" || listened=$?
listener=
echo "== received, typed"
cat "$work/records"
echo "== warned of by the listener"
grep -F ' WARNING ' "$work/listener.log" | sed 's/^.*QXNOTIFY | /  /'
[ "$listened" -eq 0 ] || { cat "$work/listener.err" >&2; echo "demo: qxnotify listen ended with exit code $listened" >&2; exit 1; }

echo "== sum"
python3 scripts/demo_summary.py sum "$records" "$work/published" "$work/records" "$work/listener.log"
