# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Ships entries to real servers as docs/shipping.md says, and measures what it says of ClickHouse:
shipping_test.py HTTP_UPLOAD STAGE_ENTRIES PAGE ENTRIES SERVER
"""

import contextlib
import gzip
import os
import pathlib
import re
import resource
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

HTTP_UPLOAD, STAGE_ENTRIES, PAGE, ENTRIES, SERVER = sys.argv[1:]
CONFIGURATION = """<yandex><logger/><listen_host>127.0.0.1</listen_host>
<http_port>{port}</http_port><path>{base}/</path><users_config>{base}/config.xml</users_config>
<mark_cache_size>1</mark_cache_size><profiles><default/></profiles><quotas><default/></quotas>
<users><default><password/><networks><ip>127.0.0.1</ip></networks><profile>default</profile>
<quota>default</quota></default></users></yandex>"""
SUMS = """SELECT count(), uniqExact(entry_id), sum(id), sum(length(filler)),
    countIf(timestamp BETWEEN now() - 3600 AND now()) FROM entries """
STORED = "SELECT sum(bytes_on_disk) FROM system.parts WHERE active AND table = 'entries'"


def until(condition):
    end = time.monotonic() + 300
    while not condition():
        assert time.monotonic() < end, "this has taken five minutes"
        time.sleep(0.001)


@contextlib.contextmanager
def running(is_ready, *options):
    server = subprocess.Popen([SERVER, *options], stdout=subprocess.DEVNULL)
    try:
        until(lambda: server.poll() is not None or is_ready())
        yield server
    finally:
        server.kill()
        server.wait()


def block_of_page(start, replacements):
    [text] = re.findall(rf"^```\w*\n({start}.*?)^```", pathlib.Path(PAGE).read_text(), re.M | re.S)
    for old, new in replacements.items():
        assert old in text, f"{PAGE} does not show {old}"
        text = text.replace(old, str(new))
    return text


def stage_entries(stage):
    subprocess.run([STAGE_ENTRIES, stage, "40", ENTRIES], check=True)
    return {file: file.read_bytes() for file in sorted(stage.iterdir())}


def seconds_of(server):
    """The processor times of the processes that have ended, and of the server."""
    ended = resource.getrusage(resource.RUSAGE_CHILDREN)
    ticks = pathlib.Path(f"/proc/{server.pid}/stat").read_text().rpartition(")")[2].split()[11:13]
    return ended.ru_utime + ended.ru_stime, sum(map(int, ticks)) / os.sysconf("SC_CLK_TCK")


def report(files, before, after, stored):
    """The figures of the page's arithmetic."""
    file = list(files.values())[1]  # The first one has a long entry.
    size = len(file) / file.count(b"\n")
    uploader, server = ((end - begin) / int(ENTRIES) * 1e6 for begin, end in zip(before, after))
    print(f"{size:.0f} bytes a line, {0x400000 / size:.0f} lines in 4 MiB, "
          f"{0x400000 / len(file) * len(gzip.compress(file, 6)) / 1000:.0f} KB of it compressed; "
          f"processor time {uploader:.2f} us a line of http_upload, {server:.2f} us of the server; "
          f"{stored / int(ENTRIES):.1f} bytes a line stored")


def clickhouse(base, stage):
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    configuration = base / "config.xml"
    configuration.write_text(CONFIGURATION.format(port=port, base=base))

    def server():
        connect = socket.socket().connect_ex
        return running(lambda: connect(("127.0.0.1", port)) == 0, f"--config-file={configuration}")

    def query(text):
        with urllib.request.urlopen(f"http://127.0.0.1:{port}", text.encode()) as answer:
            return [int(value) for value in answer.read().split()]

    def upload():
        command = block_of_page("http_upload ", {
            "http_upload": f"exec {HTTP_UPLOAD} --first-wait=10 --attempts=50",
            "/var/lib/orders/staging": stage, "clickhouse:8123": f"127.0.0.1:{port}"})
        return subprocess.Popen(["sh", "-c", command])

    count, files = int(ENTRIES), stage_entries(stage)
    sums = [count, count, count * (count - 1) // 2, (count - 1) * 52 + 200_000, count]
    with server() as process:
        columns = {"order_id UInt64": "id UInt64, filler String"}
        query(block_of_page(r"CREATE TABLE entries\n", columns))
        before = seconds_of(process)
        assert upload().wait() == 0
        after = seconds_of(process)
        assert query(SUMS) == sums, query(SUMS)
        query("OPTIMIZE TABLE entries FINAL")
        report(files, before, after, query(STORED)[0])
        query("TRUNCATE TABLE entries")
        for file, content in files.items():
            file.write_bytes(content)
        uploader = upload()
        until(lambda: not list(files)[16].exists())
    assert uploader.poll() is None, "the upload has ended before the server was killed"
    with server():
        assert uploader.wait() == 0
        assert query(SUMS)[1] == count, "entries are lost"
        for file in list(files)[:2]:  # As if replies had been lost.
            file.write_bytes(files[file])
        assert upload().wait() == 0
        assert query(SUMS + "FINAL") == sums, query(SUMS + "FINAL")


def rsyslog(base, stage):
    output = base / "output.jsonl"
    names = {"/var/lib/orders/staging": stage, "/var/spool/rsyslog": base}
    configuration = block_of_page("global", {**names, "/var/log/orders.jsonl": output})
    base.joinpath("configuration").write_text(configuration)
    with running((base / "pid").exists, "-n", "-f", base / "configuration", "-i", base / "pid"):
        staged = b"".join(stage_entries(stage).values())
        until(lambda: output.exists() and output.stat().st_size >= len(staged))
    lines = output.read_bytes().splitlines()
    assert len(lines) == int(ENTRIES) and sorted(lines) == sorted(staged.splitlines())


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as name:
        test = {"clickhouse-server": clickhouse, "rsyslogd": rsyslog}[pathlib.Path(SERVER).name]
        pathlib.Path(name, "stage").mkdir()
        test(pathlib.Path(name), pathlib.Path(name, "stage"))
