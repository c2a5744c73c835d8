"""Runs http_upload against HTTP servers on this machine:
http_upload_test.py HTTP_UPLOAD DISK_CHECK STAGE_ENTRIES [UNITTEST-ARGUMENT...]
"""

import gzip
import os
import resource
import sys
import unittest

from loggly_upload_test import LOGGLY_UPLOAD as HTTP_UPLOAD, TOKEN, UploadTest, service

PATH = "/a/../b//?query=INSERT%20INTO%20t&sum=1+1%2B@&empty="
TYPE = ("Content-Type", "application/x-ndjson")
OWN = ("Host", "Accept", "Content-Length")


class HttpUploadTest(UploadTest):
    def upload(self, url, *options, status=0):
        command = [HTTP_UPLOAD, self.stage, "--endpoint", url, "--first-wait", 1, *options]
        return self.finish(self.start(*command), status)

    def test_request_is_what_the_options_say(self):
        self.base.joinpath("token").write_text(TOKEN + "\r\n")
        token = ["--token-file", self.base / "token"]
        headers = ["--header", "content-type: text/x", "--header", "X-A: b: c"]
        content = os.urandom(300_000) + b'{"a":"\xc3\xa4"}\n' * 500_000
        for options, expected in (
            ([], [TYPE]),
            (token, [TYPE, ("Authorization", f"Bearer {TOKEN}")]),
            (headers, [("content-type", "text/x"), ("X-A", "b: c")]),
            ([*token, "--token-header", "X-Key:", "--gzip"],
             [TYPE, ("X-Key", TOKEN), ("Content-Encoding", "gzip")]),
        ):
            with self.subTest(options=options), service(200) as server:
                self.put("1.log", content)
                self.upload(server.url + PATH, *options)
                [request] = server.requests
                sent = [item for item in request.headers.items() if item[0] not in OWN]
                self.assertEqual((request.path, sent), (PATH, expected))
                body = gzip.decompress(request.body) if "--gzip" in options else request.body
                self.assertEqual(body, content)

    def test_large_file_takes_no_memory(self):
        self.put("1.log", b"")
        os.truncate(self.stage / "1.log", 0x10000000)
        with service(200) as server:
            self.upload(server.url, "--gzip")
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, 0x20000)

    def test_rules_are_those_of_loggly_upload_but_every_2xx_is_a_success(self):
        for name in "123":
            self.put(f"{name}.log", name.encode())
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


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
