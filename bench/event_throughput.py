"""The event pipeline under Wine: generated driver records through the
running agent (mli_get_log, the formatter, the cache, both files) against
bench/event_files_bare_win.cpp, which makes the agent's file calls per record
with lines made beforehand. Prints a table of figures, baselines, ratios and
goals; asserts nothing about time, and exits with 1 only when records were
lost on the way to the files.

- eps: records per second, for the agent from the stand-in's ScriptFirstQpc
  (first record taken) to ScriptDoneQpc (the agent back for the next one
  after the last), for the bare loop from its own QueryPerformanceCounter
  around its loop (best of two each for the empty folder, alternating). The
  bare loop writes the very lines the agent wrote in the same phase (read
  back from zent_mpnp), into the same folders, emptied between the two. (a) agent/bare, goal >= 0.8; (b) agent/1,000 eps, goal
  >= 20, printed beside the bare loop's own.
- Zero loss: after each agent phase each logId is once in zent_mpnp, in
  order, and once in the one-record files, in order of their modification
  times (the file system's ticks are coarse: records of one tick may stand
  in any order). A generator at 80% of the measured eps, with the
  stand-in's queue cut to QUEUE_RECORDS so that a stall of the pump shows
  within the phase: DroppedByDriver must stay 0.
- Growth: the same eps with 10,000 and 50,000 files already in the
  one-record folder (made from Linux, empty, uuid-named), and with payloads
  of 1,500 and 65,000 bytes.
- Pass time with 1, 128, 1,024 records cached: cacheSize N and a flush
  interval of an hour, the suite's Misc folder removed, N records played
  (each fails at the folder and stays in the cache), Misc restored with its
  one-record folder (the bare loop finds it made too), then one
  more record played: the pass that record starts writes all N + 1, and its
  time is the stand-in's ScriptFirstQpc to ScriptDoneQpc of that one-record
  script. The timer's first run comes 1 s after the new interval is taken,
  during the fill, and not again within the hour, so no timer pass takes
  the cache first. Baseline: the bare loop with the same N + 1 lines and the
  main log held open across them, as one pass holds it. Best of three for
  1 and 128, whose passes last milliseconds on a shared machine.

The agent runs with DebugLevel 1, so that the debug log does not take a
share of the time."""
import os
import re
import shutil
import sys
import tempfile
import time
import uuid

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from agent_host import INSTALL_DIR, MAIN_LOG, MISC_DIR, SIM_KEY, SINGLE_RECORD_DIR, AgentHost  # noqa: E402
from driver_records import (KIND_GENERATOR, RECORD_PAYLOAD, SYN, TCP, entry, ethernet, ipv4, record,  # noqa: E402
                            tcp)
from event_pipeline import deploy_log_parameters  # noqa: E402
from winehost import build_file, delete_value, end_session, keep_session, read_key, run, unix_path  # noqa: E402
from winehost import windows_path  # noqa: E402

RECORDS = int(os.environ.get("ZENT_EVENT_RECORDS", "2000"))
SETTINGS = {"ZENTSETTINGS": {"TestMode": 1, "DebugLevel": 1}}
# Large enough that no phase rotates zent_mpnp: every line stays to be checked.
LOG_SIZE_KB = 1048576
QUEUE_RECORDS = 256
FILES_PRESENT = (10000, 50000)
PAYLOADS = (1500, 65000)
CACHED = (1, 128, 1024)
AN_HOUR_MS = 3600000
# Phases that write 2,000 records into a folder of 50,000 take minutes on a
# slow machine: a phase is waited for as long as it makes progress, and given
# up only after this long without any.
STALL_SECONDS = 120
MLI_KEY = SIM_KEY + r"\mli"

losses = []


def template(log_id, payload):
    """A TCP SYN over IPv4 and Ethernet, as a filter reports it, with
    payload bytes behind it when payload is not 0."""
    fields = {"logId": log_id, "timeSeconds": 1700000000, "timeMicroseconds": 250000, "secondSeconds": 1700000000,
              "secondMicroseconds": 250125, "eventCode": 101, "column14Value": 2, "column15Value": 3,
              "column18Value": 17, "column20Value": 1, "column21Value": 4, "column23Value": 5, "trailerValue": 9,
              "column19Length": 4, "column19Bytes": bytes.fromhex("0a0b0c0d")}
    if payload:
        fields.update(recordFlags=RECORD_PAYLOAD, payloadLength=payload, column24Value=payload)
    return record(ethernet("00:0c:29:aa:bb:cc", "00:50:56:c0:00:08", 0x0800),
                  ipv4(TCP, "192.168.10.20", "10.0.0.5", total_length=60, df=True), tcp(49152, 443, SYN), **fields)


def payload_bytes(size):
    return bytes(n % 251 for n in range(size))


class LogIds:
    """The next free logId: phases never share one."""
    next = 1

    @classmethod
    def take(cls, count):
        first = cls.next
        cls.next += count + 1000
        return first


def stand_in_records():
    return {name: value for name, (_, value) in (read_key(MLI_KEY) or {}).items()}


def new_files(present):
    folder = unix_path(SINGLE_RECORD_DIR)
    if not os.path.isdir(folder):
        return []
    return [name for name in os.listdir(folder) if name not in present]


def wait_for_files(count, present):
    """Waits, from Linux and without starting a Windows program that would
    take a share of the machine, until count new one-record files stand."""
    seen, changed = -1, time.monotonic()
    while (standing := len(new_files(present))) < count:
        if standing != seen:
            seen, changed = standing, time.monotonic()
        elif time.monotonic() - changed > STALL_SECONDS:
            raise SystemExit(f"{standing} of {count} one-record files, none new for {STALL_SECONDS} s")
        time.sleep(0.5)


def wait_for_script(host, before):
    """The script's end, waited for as long as the stand-in keeps delivering
    records to the agent."""
    while True:
        delivered = stand_in_records().get("LogRecordsDelivered", 0)
        try:
            host.wait_for_script(before, timeout=STALL_SECONDS)
            return
        except AssertionError as error:
            if stand_in_records().get("LogRecordsDelivered", 0) == delivered:
                raise SystemExit(f"no record delivered for {STALL_SECONDS} s: {error}")


def play(host, entries, count, present):
    """Plays a script whose records all reach the files; (seconds from the
    first record taken to the agent back after the last, stand-in's
    records)."""
    before = host.play_script(entries)
    wait_for_files(count, present)
    wait_for_script(host, before)
    records = stand_in_records()
    return (records["ScriptDoneQpc"] - records["ScriptFirstQpc"]) / records["QpcFrequency"], records


def field(line, index):
    return int(line.split(b", ")[index])


def check_records(host, phase, ids, present=frozenset()):
    """Each logId of ids once in zent_mpnp and once in the one-record files,
    in their order; a loss goes to losses."""
    main = (host.main_log() or b"").split(b"\r\n")[:-1]
    # The main log's line: the date and time prefix, then the columns; the
    # 17th column is the logId.
    main_ids = [field(line, 18) for line in main]
    if main_ids != ids:
        losses.append(f"{phase}: zent_mpnp holds {len(main_ids)} lines, {len(set(main_ids) & set(ids))} of the "
                      f"{len(ids)} records, {'in' if main_ids == sorted(main_ids) else 'out of'} order")
    folder = unix_path(SINGLE_RECORD_DIR)
    stamped = []
    for name in new_files(present):
        path = os.path.join(folder, name)
        with open(path, "rb") as f:
            stamped.append((os.stat(path).st_mtime_ns, field(f.read(), 16)))
    file_ids = [log_id for _, log_id in sorted(stamped)]
    if file_ids != ids:
        losses.append(f"{phase}: {len(file_ids)} one-record files, {len(set(file_ids) & set(ids))} of the "
                      f"{len(ids)} records, {'in' if file_ids == sorted(file_ids) else 'out of'} order")


def empty_folders(host, present=frozenset()):
    """Removes zent_mpnp and the one-record files a phase wrote; files that
    were there before stay."""
    for name in host.main_log_names():
        os.remove(host.path(name))
    folder = unix_path(SINGLE_RECORD_DIR)
    for name in new_files(present):
        os.remove(os.path.join(folder, name))


def bare_loop(lines_path, one_pass=False):
    """The bare loop's seconds for the lines in lines_path."""
    args = [build_file("bench/event_files_bare.exe"), windows_path(lines_path), SINGLE_RECORD_DIR,
            INSTALL_DIR + "\\" + MAIN_LOG] + (["--pass"] if one_pass else [])
    done = run(args, timeout=None)
    match = re.search(r"records=(\d+) failed=(\d+) seconds=([\d.]+)", done.stdout)
    if done.exit_code != 0 or match is None:
        raise SystemExit(f"event_files_bare failed ({done.exit_code}): {done.stdout}{done.stderr}")
    return float(match.group(3))


def agent_and_bare(host, work, phase, payload=0, present=frozenset()):
    """RECORDS generated records through the agent, then the bare loop on
    the same lines; (agent seconds, bare seconds)."""
    first = LogIds.take(RECORDS)
    script = [entry(template(first, payload), kind=KIND_GENERATOR, count=RECORDS, extra=payload_bytes(payload))]
    agent_seconds, _ = play(host, script, RECORDS, present)
    check_records(host, phase, list(range(first, first + RECORDS)), present)
    lines = os.path.join(work, "lines")
    shutil.copy(host.path(MAIN_LOG), lines)
    empty_folders(host, present)
    bare_seconds = bare_loop(lines)
    empty_folders(host, present)
    return agent_seconds, bare_seconds


def at_rate(host, rate):
    """A generator at rate records/s into a short queue; (dropped, lost)."""
    host.knob("mli", "QueueRecords", QUEUE_RECORDS)
    try:
        dropped_before = stand_in_records().get("DroppedByDriver", 0)
        first = LogIds.take(RECORDS)
        before = host.play_script([entry(template(first, 0), kind=KIND_GENERATOR, count=RECORDS, rate=rate)])
        wait_for_script(host, before)
        records = stand_in_records()
    finally:
        delete_value(MLI_KEY, "QueueRecords", missing_ok=True)
    dropped = records.get("DroppedByDriver", 0) - dropped_before
    # The ids the driver let through: which ones it dropped the files tell.
    main = (host.main_log() or b"").split(b"\r\n")[:-1]
    delivered = [field(line, 18) for line in main]
    lost = RECORDS - dropped - len(delivered)
    wait_for_files(len(delivered), frozenset())
    check_records(host, f"{rate} eps", delivered)
    if delivered != sorted(set(delivered)) or not set(delivered) <= set(range(first, first + RECORDS)) or lost:
        losses.append(f"{rate} eps: {dropped} dropped by the driver, {len(delivered)} lines of {RECORDS}")
    empty_folders(host)
    return dropped, lost


def cached_pass(host, work, cached):
    """(agent's pass seconds, bare loop's seconds) for cached records and
    the one that starts the pass."""
    deploy_log_parameters(host, size=LOG_SIZE_KB, keep=8, cacheSize=cached, logFlushInterval=AN_HOUR_MS)
    shutil.rmtree(unix_path(MISC_DIR))
    first = LogIds.take(cached + 1)
    before = host.play_script([entry(template(first, 0), kind=KIND_GENERATOR, count=cached)])
    wait_for_script(host, before)
    # The new timer's first run, 1 s after the pump took the interval.
    time.sleep(2)
    if new_files(frozenset()) or host.main_log() is not None:
        raise SystemExit("records were written while the suite's Misc folder was gone")
    # Misc comes back with the one-record folder in it, as the bare loop
    # finds it: both passes then make the same calls.
    os.makedirs(unix_path(SINGLE_RECORD_DIR))
    seconds, _ = play(host, [entry(template(first + cached, 0))], cached + 1, frozenset())
    check_records(host, f"{cached} cached", list(range(first, first + cached + 1)))
    lines = os.path.join(work, "lines")
    shutil.copy(host.path(MAIN_LOG), lines)
    empty_folders(host)
    bare_seconds = bare_loop(lines, one_pass=True)
    empty_folders(host)
    return seconds, bare_seconds


def place_files(count):
    """count empty uuid-named files in the one-record folder, made from
    Linux: through Wine they would take minutes."""
    folder = unix_path(SINGLE_RECORD_DIR)
    os.makedirs(folder, exist_ok=True)
    names = frozenset(str(uuid.uuid4()) for _ in range(count))
    for name in names:
        open(os.path.join(folder, name), "wb").close()
    return names


def ratio_row(label, figure, baseline, ratio, goal, met):
    return label, figure, baseline, f"{ratio:.2f}", goal, "met" if met else "missed"


def eps_row(label, agent_seconds, bare_seconds, count=RECORDS):
    agent, bare = count / agent_seconds, count / bare_seconds
    return ratio_row(label, f"{agent:.0f} eps", f"bare {bare:.0f} eps", agent / bare, ">= 0.8", agent / bare >= 0.8)


WIDTHS = (36, 22, 18, 7, 10, 7)


def print_row(*cells):
    print("".join(f"{cell:<{width}}" for cell, width in zip(cells, WIDTHS)).rstrip(), flush=True)


def main():
    keep_session()
    host = AgentHost()
    host.install(SETTINGS)
    work = tempfile.mkdtemp(prefix="zent_events_")
    notes = []
    print(f"{RECORDS:,} generated records per phase (TCP SYN over IPv4); the agent with DebugLevel 1; "
          f"ratios: agent/bare eps, bare/agent pass time", flush=True)
    print_row("figure", "value", "baseline", "ratio", "goal")
    try:
        host.start()
        deploy_log_parameters(host, size=LOG_SIZE_KB, keep=8, cacheSize=128, logFlushInterval=60000)
        # One phase first, so that no measured phase pays for the first run.
        agent_and_bare(host, work, "warm-up")

        # Best of two each, alternating: the machine is shared.
        runs = [agent_and_bare(host, work, "no files present") for _ in range(2)]
        agent_seconds, bare_seconds = min(a for a, _ in runs), min(b for _, b in runs)
        agent_eps, bare_eps = RECORDS / agent_seconds, RECORDS / bare_seconds
        print_row(*eps_row("(a) eps, empty folder, no payload", agent_seconds, bare_seconds))
        print_row(*ratio_row("(b) eps against 1,000 eps", f"{agent_eps:.0f} eps", "1,000 eps", agent_eps / 1000,
                             ">= 20", agent_eps / 1000 >= 20))
        notes.append(f"(b) the bare loop alone: {bare_eps:.0f} eps, {bare_eps / 1000:.2f} of 1,000 eps: the "
                     "calls themselves cost more than the goal allows under Wine, so (b) is out of reach here")

        rate = max(1, int(agent_eps * 0.8))
        dropped, lost = at_rate(host, rate)
        print_row(f"loss at {rate} eps (80%), queue {QUEUE_RECORDS}", f"{dropped} dropped, {lost} lost", "0", "-",
                  "0 dropped", "met" if dropped == 0 and lost == 0 else "missed")

        growth = {}
        for count in FILES_PRESENT:
            present = place_files(count)
            growth[count] = agent_and_bare(host, work, f"{count} files present", present=present)
            shutil.rmtree(unix_path(SINGLE_RECORD_DIR))
            print_row(*eps_row(f"eps, {count:,} files present", *growth[count]))
        for size in PAYLOADS:
            print_row(*eps_row(f"eps, payload {size:,} bytes", *agent_and_bare(host, work, f"payload {size}",
                                                                               payload=size)))
        for count in CACHED:
            # Passes of a few records last milliseconds: best of three.
            runs = [cached_pass(host, work, count) for _ in range(3 if count <= 128 else 1)]
            seconds, bare = min(a for a, _ in runs), min(b for _, b in runs)
            print_row(*ratio_row(f"pass, {count:,} cached + 1", f"{seconds * 1000:.0f} ms",
                                 f"bare {bare * 1000:.0f} ms", bare / seconds, ">= 0.8", bare / seconds >= 0.8))
        for count, (agent, bare) in growth.items():
            notes.append(f"with {count:,} files present the agent does {agent_seconds / agent:.0%} of its eps in an "
                         f"empty folder, the bare loop {bare_seconds / bare:.0%}")
    finally:
        host.remove()
        shutil.rmtree(work, ignore_errors=True)
        end_session()
    for note in notes:
        print(note)
    if losses:
        print("records lost:\n  " + "\n  ".join(losses))
        sys.exit(1)


if __name__ == "__main__":
    main()
