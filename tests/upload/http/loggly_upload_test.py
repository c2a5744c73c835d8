"""Runs loggly_upload, and disk_check, against HTTP servers on this machine:
loggly_upload_test.py LOGGLY_UPLOAD DISK_CHECK STAGE_ENTRIES [UNITTEST-ARGUMENT...]
"""

import collections
import contextlib
import http.server
import itertools
import json
import os
import pathlib
import random
import secrets
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

LOGGLY_UPLOAD, DISK_CHECK, STAGE_ENTRIES = sys.argv[1:4]
TOKEN = secrets.token_hex(16) + "-0"
ENTRIES = 16384

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
        self.server.on_request()
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
def service(*answers, certificate=None, on_request=lambda: None):
    """A server that gives the answers in order, and the last one from then on."""
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.answers = itertools.chain(answers[:-1], itertools.repeat(answers[-1]))
    if callable(answers[-1]):
        server.answers = iter(answers[-1], None)
    server.lock = threading.Lock()
    server.requests = []
    server.on_request = on_request
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

    def put(self, name, content):
        self.stage.joinpath(name).write_bytes(content)

    def staged(self):
        """All files below the staging directory, by their relative names."""
        return {
            str(file.relative_to(self.stage)): file.read_bytes()
            for file in self.stage.rglob("*")
            if file.is_file()
        }

    def start(self, *command, token=TOKEN):
        environment = {key: os.environ[key] for key in os.environ if "proxy" not in key.lower()}
        environment.pop("LOGGLY_TOKEN", None)
        if token is not None:
            environment["LOGGLY_TOKEN"] = token
        return subprocess.Popen(
            [str(word) for word in command],
            env=environment,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )

    def finish(self, process, status):
        out, err = process.communicate(timeout=120)
        self.assertEqual(process.returncode, status, out + err)
        self.assertNotIn(TOKEN, out + err)
        return out, err

    def upload(self, url, *options, status=0, token=TOKEN, first_wait=1):
        command = [LOGGLY_UPLOAD, self.stage, "--url", url, "--first-wait", first_wait, *options]
        return self.finish(self.start(*command, token=token), status)


class RequestTest(UploadTest):
    def test_bytes_tags_token_and_type_arrive_as_they_are(self):
        content = '{"a":"ä +&%="}\r\n@\n'.encode() + bytes(range(256)) + b"\n\nno line end"
        for tags, end in (([], ""), (["a"], "tag/a/"), (["a.B", "c-9_"], "tag/a.B,c-9_/")):
            self.put("1.log", content)
            self.put("notes.txt", b"")
            options = itertools.chain.from_iterable(("--tag", tag) for tag in tags)
            with service(200) as server:
                out, err = self.upload(server.url + "/", *options)
            self.assertEqual(out, f"Delivered 1 file from {self.stage}.\n")
            self.assertEqual(err, "")
            self.assertEqual(self.staged(), {"notes.txt": b""})
            [request] = server.requests
            self.assertEqual(request.body, content)
            self.assertEqual(request.path, f"/bulk/{TOKEN}/{end}")
            self.assertEqual(request.headers["Content-Type"], "text/plain")

    def test_token_of_a_file_is_used_and_in_no_command_line(self):
        file = self.base / "token"
        file.write_text(TOKEN + "\n")
        self.put("1.log", b"entry\n")
        lines = []

        def read_command_lines():
            for process in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
                with contextlib.suppress(OSError):
                    lines.append(process.read_bytes())

        with service(200, on_request=read_command_lines) as server:
            self.upload(server.url, "--token-file", file, token="other")
        self.assertEqual(server.requests[0].path, f"/bulk/{TOKEN}/")
        self.assertTrue([line for line in lines if server.url.encode() in line])
        self.assertEqual([line for line in lines if TOKEN.encode() in line], [])

    def test_empty_files_and_an_empty_directory_are_done_without_a_request(self):
        self.put("1.log", b"")
        with service(200) as server:
            self.assertIn("Delivered 1 file", self.upload(server.url)[0])
            self.assertEqual(self.staged(), {})
            self.assertIn("Nothing is ready", self.upload(server.url)[0])
        self.assertEqual(server.requests, [])
        self.assertEqual(self.staged(), {})

    def test_files_of_a_dead_process_are_named_untouched_and_a_failure(self):
        unknown = {"1.log.tmp": b"unknown\n", "3.log.tmp": b"unknown\n"}
        same_name = {"3.log": b"in the way\n"}
        for name, content in {**unknown, "2.log": b"entry\n"}.items():
            self.put(name, content)
        with service(200) as server:
            for left in ({}, {}, same_name):
                for name, content in left.items():
                    self.put(name, content)
                err = self.upload(server.url, "--attempts", 1, status=1)[1]
                self.assertIn("    1.log.tmp\n    3.log.tmp\n", err)
                self.assertIn("Rename", err)
                self.assertEqual(self.staged(), {**unknown, **left})
        self.assertEqual([request.body for request in server.requests], [b"entry\n"])

    def test_files_are_offered_in_the_order_of_their_names(self):
        names = [f"{number:02}.log" for number in range(20)]
        for name in random.sample(names, len(names)):
            self.put(name, name.encode())
        with service(200) as server:
            self.upload(server.url)
        self.assertEqual([request.body.decode() for request in server.requests], names)

    def test_file_that_cannot_be_read_is_left(self):
        self.stage.joinpath("1.log").symlink_to("nowhere")
        self.put("2.log", b"entry\n")
        with service(200) as server:
            out, err = self.upload(server.url, "--attempts", 1, status=1)
        self.assertIn("Delivered 1 file ", out)
        self.assertIn("1.log is left", err)
        self.assertEqual(os.listdir(self.stage), ["1.log"])

    def test_wrong_arguments_are_reported(self):
        self.put("1.log", b"entry\n")
        url = ["--url", "http://127.0.0.1:1"]
        cases = [
            ([], TOKEN),
            (url, TOKEN),
            ([self.stage], TOKEN),
            ([self.stage, *url], None),
            ([self.stage, *url], ""),
            ([self.stage, *url], TOKEN + "/"),
            ([self.stage, *url, "--token-file", self.base / "missing"], TOKEN),
            ([self.stage, *url, "--token-file", self.stage / "1.log.tmp"], TOKEN),
            ([self.base / "missing", *url], TOKEN),
            ([self.stage / "1.log", *url], TOKEN),
            ([self.stage, self.stage, *url], TOKEN),
            ([self.stage, "--url", "ftp://127.0.0.1"], TOKEN),
            ([self.stage, "--url", "http://a@127.0.0.1"], TOKEN),
            ([self.stage, "--url", "http://127.0.0.1/?a"], TOKEN),
            ([self.stage, "--url", f"http://127.0.0.1/bulk/{TOKEN}"], TOKEN),
            ([self.stage, *url, "--tag", "a,b"], TOKEN),
            ([self.stage, *url, "--tag", ""], TOKEN),
            ([self.stage, *url, "--timeout", "0"], TOKEN),
            ([self.stage, *url, "--attempts", "2x"], TOKEN),
            ([self.stage, *url, "--attempts"], TOKEN),
            ([self.stage, *url, "--ca-file", self.base / "missing"], TOKEN),
            ([self.stage, *url, f"--token={TOKEN}"], TOKEN),
            (["--token", TOKEN, self.stage, *url], TOKEN),
            (["", *url], TOKEN),
        ]
        for words, token in cases:
            with self.subTest(words=words):
                out, err = self.finish(self.start(LOGGLY_UPLOAD, *words, token=token), 2)
                self.assertEqual(out, "")
                self.assertRegex(err, r"\Aloggly_upload: [^\n]+\nSee loggly_upload --help\.\n\Z")
        self.assertEqual(self.staged(), {"1.log": b"entry\n"})
        out, err = self.finish(self.start(LOGGLY_UPLOAD, "--help"), 0)
        self.assertIn("Usage: loggly_upload ", out)


class AnswerTest(UploadTest):
    def test_other_answers_leave_the_file_for_the_next_run(self):
        for answer in (204, 302, 408, 429, 500, 503, DROP_BEFORE_BODY, DROP_AFTER_BODY):
            with self.subTest(answer=answer), service(answer, 200) as server:
                self.put("1.log", b"entry\n" * 500_000)
                before = self.staged()
                out, err = self.upload(server.url, "--attempts", 1, status=1)
                self.assertIn("Delivered 0 files", out)
                self.assertIn("1 file left", err)
                if isinstance(answer, int):
                    self.assertIn(f"status {answer}", err)
                self.assertEqual(self.staged(), before)
                self.upload(server.url, "--attempts", 1)
                self.assertEqual(self.staged(), {})
                self.assertEqual([request.answer for request in server.requests], [answer, 200])
                self.assertEqual(server.requests[1].body, before["1.log"])
                # A server without an answer to it would hold up every body of this size.
                self.assertNotIn("Expect", server.requests[1].headers)

    def test_no_server_leaves_the_file(self):
        with service(200) as server:
            pass
        self.put("1.log", b"entry\n")
        self.upload(server.url, "--attempts", 2, status=1)
        self.assertEqual(self.staged(), {"1.log": b"entry\n"})

    def test_slow_answer_ends_with_the_time_out(self):
        self.put("1.log", b"entry\n")
        with service(NO_ANSWER, 200) as server:
            err = self.upload(server.url, "--timeout", 1, "--attempts", 2)[1]
        self.assertIn("Timeout", err)
        self.assertEqual(self.staged(), {})
        self.assertEqual([request.body for request in server.requests], [b"entry\n"] * 2)

    def test_attempts_are_bounded_and_their_waits_double(self):
        self.put("1.log", b"entry\n")
        with service(503) as server:
            self.upload(server.url, "--attempts", 4, first_wait=40, status=1)
        times = [request.time for request in server.requests]
        waits = [later - earlier for earlier, later in zip(times, times[1:])]
        self.assertEqual(len(waits), 3)
        for wait, least in zip(waits, (0.020, 0.040, 0.080)):
            self.assertGreaterEqual(wait, least)

    def test_rejected_file_moves_aside_once_the_service_has_taken_another(self):
        for answer in (400, 413):
            with self.subTest(answer=answer), service(answer, 200, answer) as server:
                self.put("1.log", b"first\n")
                self.put("2.log", b"second\n")
                out, err = self.upload(server.url, status=1)
                self.assertIn("Delivered 1 file ", out)
                self.assertIn(f"status {answer}", err)
                self.assertIn(str(self.stage / "rejected/1.log"), err)
                self.assertEqual(self.staged(), {"rejected/1.log": b"first\n"})
                bodies = [request.body for request in server.requests]
                self.assertEqual(bodies, [b"first\n", b"second\n", b"first\n"])
                self.stage.joinpath("rejected/1.log").unlink()

    def test_service_that_rejects_every_file_is_doubted(self):
        self.put("0.log", b"")
        self.put("1.log", b"first\n")
        self.put("2.log", b"second\n")
        for answer in (400, 413):
            with self.subTest(answer=answer), service(answer) as server:
                err = self.upload(server.url, status=1)[1]
                self.assertIn("--url", err)
                self.assertIn("2 files left", err)
                self.assertEqual(self.staged(), {"1.log": b"first\n", "2.log": b"second\n"})
                self.assertEqual(len(server.requests), 2)

    def test_rejected_file_replaces_nothing(self):
        for content in (b"first\n", b"second\n", b"third\n"):
            self.put("0.log", b"entry\n")
            self.put("1.log", content)
            with service(200, 413) as server:
                self.upload(server.url, status=1)
        self.assertEqual(
            self.staged(),
            {
                "rejected/1.log": b"first\n",
                "rejected/1-1.log": b"second\n",
                "rejected/1-2.log": b"third\n",
            },
        )

    def test_refusal_stops_everything(self):
        for answer in (401, 403, 404):
            with self.subTest(answer=answer), service(answer) as server:
                for name in ("1.log", "2.log", "3.log"):
                    self.put(name, b"entry\n")
                before = self.staged()
                out, err = self.upload(server.url, status=1)
                self.assertIn("Delivered 0 files", out)
                self.assertIn(f"refuses the token or the address with status {answer}", err)
                self.assertIn("3 files left", err)
                self.assertNotIn("attempt", err)
                self.assertEqual(self.staged(), before)
                self.assertEqual(len(server.requests), 1)


class TlsTest(UploadTest):
    def certificate_for(self, name):
        file = self.base / "server.pem"
        command = ["openssl", "req", "-x509", "-nodes", "-newkey", "ec", "-pkeyopt"]
        command += ["ec_paramgen_curve:prime256v1", "-subj", "/CN=test", "-addext"]
        command += [f"subjectAltName={name}", "-keyout", file, "-out", self.base / "ca.pem"]
        subprocess.run(command, check=True, capture_output=True)
        file.write_bytes(file.read_bytes() + self.base.joinpath("ca.pem").read_bytes())
        return file

    def test_certificate_is_refused_unless_it_is_named(self):
        self.put("1.log", b"entry\n")
        with service(200, certificate=self.certificate_for("IP:127.0.0.1")) as server:
            err = self.upload(server.url, "--attempts", 1, status=1)[1]
            self.assertIn("certificate", err)
            self.assertEqual(server.requests, [])
            self.assertEqual(self.staged(), {"1.log": b"entry\n"})
            self.upload(server.url, "--ca-file", self.base / "ca.pem")
        self.assertEqual([request.body for request in server.requests], [b"entry\n"])

    def test_certificate_of_another_host_is_refused(self):
        self.put("1.log", b"entry\n")
        with service(200, certificate=self.certificate_for("IP:127.0.0.2")) as server:
            self.upload(server.url, "--attempts", 1, "--ca-file", self.base / "ca.pem", status=1)
        self.assertEqual(server.requests, [])
        self.assertEqual(self.staged(), {"1.log": b"entry\n"})

    def test_connection_that_breaks_while_writing_leaves_the_file(self):
        self.put("1.log", b"entry\n" * 700_000)
        with service(DROP_BEFORE_BODY, certificate=self.certificate_for("IP:127.0.0.1")) as server:
            options = ["--attempts", 5, "--ca-file", self.base / "ca.pem"]
            self.upload(server.url, *options, status=1)
        self.assertEqual(len(server.requests), 5)
        self.assertEqual(list(self.staged()), ["1.log"])


class LoadTest(UploadTest):
    def stage_entries(self, *arguments):
        self.finish(self.start(STAGE_ENTRIES, self.stage, *arguments), 0)
        files = self.staged()
        self.assertGreater(sum(len(content) for content in files.values()), 16 * 1024 * 1024)
        return files

    def ids_of(self, requests):
        lines = b"".join(request.body for request in requests).splitlines()
        return [json.loads(line)["id"] for line in lines]

    def test_honest_server_gets_every_entry_once(self):
        files = self.stage_entries()
        with service(200) as server:
            self.upload(server.url)
        self.assertEqual(self.staged(), {})
        self.assertEqual(len(server.requests), sum(map(bool, files.values())))
        self.assertLessEqual(max(len(content) for content in files.values()), 5 * 1024 * 1024)
        self.assertEqual(sorted(self.ids_of(server.requests)), list(range(ENTRIES)))

    def test_failing_server_loses_nothing(self):
        files = self.stage_entries(64)
        chance = random.Random(4711)
        failures = (503, DROP_BEFORE_BODY, DROP_AFTER_BODY)

        def answer():
            return chance.choice(failures) if chance.random() < 0.3 else 200

        with service(answer) as server:
            self.upload(server.url, "--attempts", 50, first_wait=0)
        self.assertEqual(self.staged(), {})
        by_answer = collections.defaultdict(list)
        for request in server.requests:
            by_answer[request.answer].append(request)
        self.assertEqual(set(by_answer), {200, *failures})
        self.assertEqual(len(by_answer[200]), sum(map(bool, files.values())))
        # What was answered is there once; what was taken without an answer is there again.
        self.assertEqual(sorted(self.ids_of(by_answer[200])), list(range(ENTRIES)))


class DiskCheckTest(UploadTest):
    def check(self, *options, status=0):
        tree = self.base / "tree"
        tree.mkdir()
        for number in range(20):
            tree.joinpath(f"file-{number}").write_bytes(b"x")
        command = [DISK_CHECK, tree, "--out", self.base, "--stage", self.stage, *options]
        out, err = self.finish(self.start(*command), status)
        return out, err, self.base.joinpath("disk_check.jsonl").read_bytes()

    def test_embedded_delivery_has_the_bytes_of_the_log(self):
        out, _, log = self.check()
        self.assertTrue(out.endswith(f"Delivered 1 file to {self.base}/delivered\n"))
        self.assertEqual(self.staged(), {})
        [file] = self.base.joinpath("delivered").iterdir()
        self.assertEqual(file.suffix, ".log")
        self.assertEqual(file.read_bytes(), log)

    def test_embedded_delivery_replaces_nothing(self):
        delivered = self.base / "delivered"
        delivered.mkdir()
        delivered.joinpath("1.log").write_bytes(b"old\n")
        self.put("1.log", b"new\n")
        _, err, _ = self.check(status=1)
        self.assertIn("1 staging file", err)
        self.assertIn(str(delivered / "1.log"), err)
        self.assertEqual(delivered.joinpath("1.log").read_bytes(), b"old\n")
        self.assertEqual(self.staged(), {"1.log": b"new\n"})

    def test_upload_sends_the_bytes_of_the_log(self):
        with service(200) as server:
            out, _, log = self.check("--upload", server.url)
        self.assertTrue(out.endswith(f"Delivered 1 file to {server.url}\n"))
        self.assertEqual([request.body for request in server.requests], [log])
        self.assertEqual(self.staged(), {})

    def test_upload_that_is_refused_ends_with_an_error(self):
        with service(403) as server:
            _, err, log = self.check("--upload", server.url, status=1)
        self.assertIn("status 403", err)
        self.assertEqual(list(self.staged().values()), [log])

    def test_upload_needs_staging_and_a_valid_token(self):
        command = [DISK_CHECK, self.base, "--out", self.base, "--upload", "http://127.0.0.1:1"]
        self.assertIn("--stage", self.finish(self.start(*command), 2)[1])
        command += ["--stage", self.stage]
        self.assertIn("LOGGLY_TOKEN", self.finish(self.start(*command, token=None), 2)[1])
        self.assertIn("token", self.finish(self.start(*command, token=TOKEN + "/"), 2)[1])
        self.assertEqual(self.staged(), {})


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
