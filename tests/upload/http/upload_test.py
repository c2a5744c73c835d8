# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""Runs loggly_upload, http_upload and disk_check against HTTP servers on this machine:
upload_test.py STAGE_ENTRIES DISK_CHECK LOGGLY_UPLOAD [HTTP_UPLOAD]
"""

import collections
import contextlib
import gzip
import http.server
import itertools
import json
import os
import pathlib
import random
import resource
import secrets
import shutil
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import time
import typing
import unittest

STAGE_ENTRIES, DISK_CHECK, *UPLOADERS = sys.argv[1:]
TOKEN = secrets.token_hex(16) + "-0"

# What the server does instead of answering with a status.
DROP_BEFORE_BODY, DROP_AFTER_BODY, NO_ANSWER = "drop before", "drop after", "no answer"

Request = collections.namedtuple("Request", "answer path headers body time")


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        with self.server.lock:
            answer = next(self.server.answers)
        body = None
        if answer != DROP_BEFORE_BODY:
            body = self.rfile.read(int(self.headers["Content-Length"]))
        request = Request(answer, self.path, self.headers, body, time.monotonic())
        self.server.requests.append(request)
        self.close_connection = True
        if answer == NO_ANSWER:
            self.connection.recv(1)  # Returns when the client has gone.
        elif answer in (DROP_BEFORE_BODY, DROP_AFTER_BODY):
            # An end of data and then a reset, after which a careless client dies of SIGPIPE.
            self.connection.shutdown(socket.SHUT_WR)
            linger = struct.pack("ii", 1, 0)
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, linger)
        else:
            self.answer(answer)

    def answer(self, status):
        text = b'{"response" : "ok"}' if status == 200 else b"<html>\n<p>No.</p></html>"
        self.send_response(status)
        self.send_header("Location", f"/elsewhere/{TOKEN}")
        self.send_header("Content-Length", str(len(text)))
        self.end_headers()
        self.wfile.write(text)

    def log_message(self, *_):
        pass


@contextlib.contextmanager
def service(*answers, certificate=None):
    """A server that gives the answers in order, and the last one from then on."""
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.answers = itertools.chain(answers[:-1], itertools.repeat(answers[-1]))
    if callable(answers[-1]):
        server.answers = iter(answers[-1], None)
    server.lock = threading.Lock()
    server.requests = []
    scheme = "http"
    if certificate:
        scheme = "https"
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate)
        server.socket = context.wrap_socket(server.socket, server_side=True)
    server.url = f"{scheme}://127.0.0.1:{server.server_address[1]}"
    thread = threading.Thread(target=server.serve_forever, args=(0.01,))
    thread.start()
    try:
        yield server
    finally:
        server.shutdown()
        thread.join()
        server.server_close()


class UploadTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.base = pathlib.Path(temporary.name)
        self.stage = self.base / "stage"
        self.stage.mkdir()

    def put(self, files):
        for name, content in files.items():
            file = self.stage / name
            file.parent.mkdir(exist_ok=True)
            file.write_bytes(content)

    def staged(self):
        """All files below the staging directory, by their relative names."""
        files = (file for file in self.stage.rglob("*") if file.is_file())
        return {str(file.relative_to(self.stage)): file.read_bytes() for file in files}

    def run_program(self, *words, status=0, token=TOKEN):
        environment = {key: os.environ[key] for key in os.environ if "proxy" not in key.lower()}
        environment.pop("LOGGLY_TOKEN", None)
        if token is not None:
            environment["LOGGLY_TOKEN"] = token
        result = subprocess.run([str(word) for word in words], env=environment, timeout=120,
                                capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, status, result)
        self.assertNotIn(TOKEN, result.stdout + result.stderr)
        return result.stdout, result.stderr

    def upload(self, url, *options, status=0, token=TOKEN, program=UPLOADERS[0]):
        wait = () if "--first-wait" in options else ("--first-wait", 1)
        option = "--endpoint" if program.endswith("http_upload") else "--url"
        words = [program, self.stage, option, url, *wait, *options]
        return self.run_program(*words, status=status, token=token)


class RequestTest(UploadTest):
    def test_bytes_tags_token_and_type_arrive_as_they_are(self):
        content = '{"a":"ä +&%="}\r\n@\n'.encode() + bytes(range(256)) + b"\n\nno line end"
        for tags, end in (([], ""), (["a"], "tag/a/"), (["a.B", "c-9_"], "tag/a.B,c-9_/")):
            self.put({"1.log": content, "notes.txt": b""})
            options = itertools.chain.from_iterable(("--tag", tag) for tag in tags)
            with service(200) as server:
                outputs = self.upload(server.url + "/", *options)
            self.assertEqual(outputs, (f"Delivered 1 file from {self.stage}.\n", ""))
            self.assertEqual(self.staged(), {"notes.txt": b""})
            [request] = server.requests
            self.assertEqual(request.body, content)
            self.assertEqual(request.path, f"/bulk/{TOKEN}/{end}")
            self.assertEqual(request.headers["Content-Type"], "text/plain")

    def test_token_of_a_file_is_used(self):
        file = self.base / "token"
        file.write_text(TOKEN + "\n")
        self.put({"1.log": b"entry\n"})
        with service(200) as server:
            self.upload(server.url, "--token-file", file, token="other")
        self.assertEqual(server.requests[0].path, f"/bulk/{TOKEN}/")

    def test_wrong_arguments_are_reported(self):
        self.put({"1.log": b"entry\n"})
        url = ["--url", "http://127.0.0.1:1"]
        good = [self.stage, *url]
        cases = [(words, TOKEN) for words in (
            [self.stage], [self.base / "missing", *url], [self.stage / "1.log", *url],
            [*good, "--token-file", self.base / "missing"], [*good, "--tag", "a,b"],
            [*good, "--ca-file", self.base / "missing"], [*good, f"--token={TOKEN}"],
            *([self.stage, "--url", wrong] for wrong in (
                "ftp://127.0.0.1", "http://a@127.0.0.1", "http://127.0.0.1/?a",
                f"http://127.0.0.1/bulk/{TOKEN}")))]
        for words, token in [*cases, (good, None), (good, ""), (good, TOKEN + "/")]:
            with self.subTest(words=words):
                out, err = self.run_program(UPLOADERS[0], *words, status=2, token=token)
                self.assertEqual(out, "")
                self.assertRegex(err, r"\Aloggly_upload: [^\n]+\nSee loggly_upload --help\.\n\Z")
        self.assertEqual(self.staged(), {"1.log": b"entry\n"})


@unittest.skipUnless(UPLOADERS[1:], "http_upload is not built")
class HttpUploadTest(UploadTest):
    def upload(self, *words, **options):
        return super().upload(*words, **options, program=UPLOADERS[1])

    def test_request_is_what_the_options_say(self):
        path = "/a/../b//?query=INSERT%20INTO%20t&sum=1+1%2B@&empty="
        kind = ("Content-Type", "application/x-ndjson")
        self.base.joinpath("token").write_text(TOKEN + "\r\n")
        token = ["--token-file", self.base / "token"]
        headers = ["--header", "content-type: text/x", "--header", "X-A: b: c"]
        content = os.urandom(300_000) + b'{"a":"\xc3\xa4"}\n' * 500_000
        for options, expected in (
            ([], [kind]),
            (token, [kind, ("Authorization", f"Bearer {TOKEN}")]),
            (headers, [("content-type", "text/x"), ("X-A", "b: c")]),
            ([*token, "--token-header", "X-Key:", "--gzip"],
             [kind, ("X-Key", TOKEN), ("Content-Encoding", "gzip")]),
        ):
            with self.subTest(options=options), service(200) as server:
                self.put({"1.log": content})
                self.upload(server.url + path, *options)
                [request] = server.requests
                own = ("Host", "Accept", "Content-Length")
                sent = [item for item in request.headers.items() if item[0] not in own]
                self.assertEqual((request.path, sent), (path, expected))
                body = gzip.decompress(request.body) if "--gzip" in options else request.body
                self.assertEqual(body, content)

    def test_large_file_takes_no_memory(self):
        self.put({"1.log": b""})
        os.truncate(self.stage / "1.log", 0x10000000)
        with service(200) as server:
            self.upload(server.url, "--gzip")
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, 0x20000)

    def test_every_2xx_is_a_success(self):
        self.put({f"{name}.log": name.encode() for name in "123"})
        with service(503, 204, 413, 299) as server:
            self.upload(server.url, status=1)
        self.assertEqual([request.body for request in server.requests], [b"1", b"2", b"3", b"1"])
        self.assertEqual(self.staged(), {"rejected/3.log": b"3"})

    def test_wrong_arguments_are_reported(self):
        good = "http://127.0.0.1:1"
        headers = [[good, "--header", line] for line in ("A", ": b", "A:", "A: b\nB: c")]
        for words in ([good + "/a b"], [good + "#a"], ["ftp://a"], ["http://u:p@a?"], *headers):
            err = self.upload(*words, status=2)[1]
            self.assertRegex(err, r"\Ahttp_upload: [^\n]+\nSee http_upload --help\.\n\Z")


class Case(typing.NamedTuple):
    answers: tuple
    files: dict
    options: tuple
    sent: str  # The bodies of the requests, in order.
    left: dict
    status: int
    says: tuple


ONE, TWO, THREE = ({f"{n}.log": str(n).encode() for n in range(1, last)} for last in (2, 3, 4))
MANY = {f"{n}.log": bytes([n]) for n in range(65, 91)}
ONCE, TWICE = ("--attempts", "1"), ("--attempts", "2")
OLD = {"1.log.tmp": b"a", "3.log.tmp": b"b"}
BLOCKED = {**OLD, "3.log": b"in the way"}
REJECTED = {"rejected/1.log": b"x", "rejected/1-1.log": b"y"}
UPPER = bytes(range(65, 91)).decode()
# The rules of docs/upload.md.
RULES = [
    *(Case((code,), ONE, ONCE, "1", ONE, 1, ("Delivered 0 files", "1 file left", f"status {code}"))
      for code in (204, 302, 408, 429, 500, 503)),
    Case((503, 200), ONE, TWICE, "11", {}, 0, ("attempt 2 of 2",)),
    Case((NO_ANSWER, 200), ONE, ("--timeout", 1, *TWICE), "11", {}, 0, ("Timeout",)),
    *(Case((code,), THREE, (), "1", THREE, 1, (f"the address with status {code}", "3 files left"))
      for code in (401, 403, 404)),
    *(Case((code, 200, code), TWO, (), "121", {"rejected/1.log": b"1"}, 1,
           ("Delivered 1 file ", f"status {code}", "rejected/1.log")) for code in (400, 413)),
    *(Case((code,), {**TWO, "0.log": b""}, (), "12", TWO, 1, ("Check --url", "2 files left"))
      for code in (400, 413)),
    Case((200, 413), {**REJECTED, "0.log": b"0", **ONE}, (), "01",
         {**REJECTED, "rejected/1-2.log": b"1"}, 1, ("rejected/1-2.log",)),
    Case((200,), dict(random.sample([*MANY.items()], 26)), (), UPPER, {}, 0, ("26 files",)),
    Case((200,), {"1.log": b""}, (), "", {}, 0, ("Delivered 1 file ",)),
    Case((200,), {}, (), "", {}, 0, ("Nothing is ready",)),
    Case((200,), {**OLD, "2.log": b"2"}, ONCE, "2", OLD, 1, ("  1.log.tmp\n    3.log.tmp\n",)),
    Case((200,), BLOCKED, ONCE, "", BLOCKED, 1, ("3.log.tmp is in its way",)),
]


class RulesTest(UploadTest):
    def test_answers_decide_what_happens_to_files(self):
        for case in RULES:
            with self.subTest(case), service(*case.answers) as server:
                self.put(case.files)
                outputs = self.upload(server.url, *case.options, status=case.status)
                sent = b"".join(request.body for request in server.requests).decode()
                self.assertEqual((sent, self.staged()), (case.sent, case.left))
                self.assertEqual([text for text in case.says if text not in "".join(outputs)], [])
                shutil.rmtree(self.stage)
                self.stage.mkdir()

    def test_connection_that_breaks_leaves_the_file(self):
        self.put({"1.log": b"entry\n" * 500_000})
        before = self.staged()
        with service(DROP_BEFORE_BODY, DROP_AFTER_BODY) as server:
            for _ in range(2):
                self.upload(server.url, *ONCE, status=1)
                self.assertEqual(self.staged(), before)
        # A server without an answer to it would hold up every body of this size.
        self.assertNotIn("Expect", server.requests[1].headers)
        self.upload(server.url, *TWICE, status=1)
        self.assertEqual(self.staged(), before)

    def test_file_that_cannot_be_read_is_left(self):
        self.stage.joinpath("1.log").symlink_to("nowhere")
        self.put({"2.log": b"entry\n"})
        with service(200) as server:
            out, err = self.upload(server.url, *ONCE, status=1)
        self.assertIn("Delivered 1 file ", out)
        self.assertIn("1.log is left", err)
        self.assertEqual(os.listdir(self.stage), ["1.log"])

    def test_attempts_are_bounded_and_their_waits_double(self):
        self.put(ONE)
        with service(503) as server:
            self.upload(server.url, "--attempts", 4, "--first-wait", 40, status=1)
        times = [request.time for request in server.requests]
        waits = [later - earlier for earlier, later in zip(times, times[1:])]
        self.assertEqual(len(waits), 3)
        for wait, least in zip(waits, (0.020, 0.040, 0.080)):
            self.assertGreaterEqual(wait, least)

    def test_certificate_must_be_known_and_of_the_host(self):
        ca, pair = self.base / "ca.pem", self.base / "server.pem"
        trusted = ("--ca-file", ca, *ONCE)
        for host, answer, options, status, requests in (
            ("127.0.0.1", 200, ONCE, 1, 0), ("127.0.0.2", 200, trusted, 1, 0),
            ("127.0.0.1", DROP_BEFORE_BODY, (*trusted[:2], "--attempts", 5), 1, 5),
            ("127.0.0.1", 200, trusted, 0, 1),
        ):
            self.put({"1.log": b"entry\n" * 700_000})
            before = self.staged()
            command = ["openssl", "req", "-x509", "-nodes", "-newkey", "ec", "-pkeyopt"]
            command += ["ec_paramgen_curve:prime256v1", "-subj", "/CN=test", "-addext"]
            command += [f"subjectAltName=IP:{host}", "-keyout", pair, "-out", ca]
            subprocess.run(command, check=True, capture_output=True)
            pair.write_bytes(pair.read_bytes() + ca.read_bytes())
            with self.subTest((host, options)), service(answer, certificate=pair) as server:
                self.upload(server.url, *options, status=status)
                self.assertEqual(len(server.requests), requests)
                self.assertEqual(self.staged(), before if status else {})

    def test_failing_server_loses_nothing(self):
        self.run_program(STAGE_ENTRIES, self.stage, 64)
        sizes = [len(content) for content in self.staged().values()]
        self.assertGreater(sum(sizes), 16 * 1024 * 1024)
        chance = random.Random(4711)
        failures = (503, DROP_BEFORE_BODY, DROP_AFTER_BODY)

        def answer():
            return chance.choice(failures) if chance.random() < 0.3 else 200

        with service(answer) as server:
            self.upload(server.url, "--attempts", 50, "--first-wait", 0)
        self.assertEqual(self.staged(), {})
        self.assertEqual({request.answer for request in server.requests}, {200, *failures})
        # What was answered is there once; what was taken without an answer is there again.
        bodies = [request.body for request in server.requests if request.answer == 200]
        self.assertEqual(len(bodies), sum(map(bool, sizes)))
        ids = [json.loads(line)["id"] for line in b"".join(bodies).splitlines()]
        self.assertEqual(sorted(ids), list(range(16384)))


class DiskCheckTest(UploadTest):
    def check(self, *options, status=0):
        tree = self.base / "tree"
        tree.mkdir(exist_ok=True)
        for number in range(20):
            tree.joinpath(f"file-{number}").write_bytes(b"x")
        words = [DISK_CHECK, tree, "--out", self.base, "--stage", self.stage, *options]
        outputs = self.run_program(*words, status=status)
        return *outputs, self.base.joinpath("disk_check.jsonl").read_bytes()

    def test_embedded_delivery_has_the_bytes_of_the_log_and_replaces_nothing(self):
        out, _, log = self.check()
        delivered = self.base / "delivered"
        self.assertTrue(out.endswith(f"Delivered 1 file to {delivered}\n"))
        self.assertEqual(self.staged(), {})
        [file] = delivered.iterdir()
        self.assertEqual((file.suffix, file.read_bytes()), (".log", log))
        self.put({file.name: b"new\n"})
        err = self.check(status=1)[1]
        self.assertIn("1 staging file", err)
        self.assertIn(str(file), err)
        self.assertEqual((file.read_bytes(), self.staged()), (log, {file.name: b"new\n"}))

    def test_upload_sends_the_bytes_of_the_log_or_ends_with_an_error(self):
        with service(200, 403) as server:
            out, _, log = self.check("--upload", server.url)
            self.assertTrue(out.endswith(f"Delivered 1 file to {server.url}\n"))
            self.assertEqual([request.body for request in server.requests], [log])
            self.assertEqual(self.staged(), {})
            self.base.joinpath("disk_check.jsonl").unlink()
            _, err, log = self.check("--upload", server.url, status=1)
        self.assertIn("status 403", err)
        self.assertEqual(list(self.staged().values()), [log])

    def test_upload_needs_staging_and_a_valid_token(self):
        words = [DISK_CHECK, self.base, "--out", self.base, "--upload", "http://127.0.0.1:1"]
        self.assertIn("--stage", self.run_program(*words, status=2)[1])
        words += ["--stage", self.stage]
        for token, text in ((None, "LOGGLY_TOKEN"), (TOKEN + "/", "token")):
            self.assertIn(text, self.run_program(*words, status=2, token=token)[1])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
