#!/usr/bin/env python3
"""Cloud simulator for Corvel: the sign-in page, the recovery API and the update server.

Serves on 127.0.0.1 only. After binding it prints exactly one line to standard output,
"listening on http://127.0.0.1:PORT" (or https://), and then logs one line per request:
method, path with the query exactly as received, status.
"""

import argparse
import base64
import copy
import hashlib
import hmac
import html
import itertools
import json
import os
import secrets
import ssl
import sys
import threading
import time
import zlib
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import parse_qs, urlsplit

DEFAULT_SENTINEL = "http://vusk-api-token/"

DEFAULT_DATA = {
    "users": {
        "partner": {"username": "partner", "user_display_name": "Paula Brandt", "reseller_id": 7},
        "client": {"username": "client", "user_display_name": "Oskar Lind", "client_id": 101},
        "admin": {"username": "admin", "user_display_name": "Velmora Operator"},
        "broken": {"broken": True},
    },
    "clients": [
        {"id_": 101, "partner_id": 7, "username": "northwind", "name": "Northwind Ltd"},
        {"id_": 102, "partner_id": 7, "username": "harbourside", "name": "Harbourside Clinic"},
        {"id_": 103, "partner_id": 7, "username": "quarry", "name": "Quarry & Sons"},
        {"id_": 104, "partner_id": 7, "username": "Abbotsford", "name": "Abbotsford Dental"},
        {"id_": 105, "partner_id": 7, "username": "crabtree", "name": "Crabtree Bakery"},
        {"id_": 106, "partner_id": 7, "username": "lakeside", "name": "Lakeside Abbey"},
        {"id_": 201, "partner_id": 9, "username": "elsewhere", "name": "Elsewhere GmbH"},
    ],
    "datasources": [
        {"id_": 11, "client_id": 101, "name": "FS-01 file server", "url": "https://ds11.sim.invalid",
         "sid": "S-11", "type": "server"},
        {"id_": 12, "client_id": 101, "name": "Accounting laptops", "url": "https://ds12.sim.invalid",
         "sid": "S-12", "type": "workstation"},
        {"id_": 13, "client_id": 101, "name": "Imaging appliance", "url": "https://ds13.sim.invalid",
         "sid": "S-13", "type": "Disk & Image"},
        {"id_": 21, "client_id": 102, "name": "Clinic server", "url": "https://ds21.sim.invalid",
         "sid": "S-21", "type": "server"},
        {"id_": 31, "client_id": 103, "name": "Quarry office", "url": "https://ds31.sim.invalid",
         "sid": "S-31", "type": "workstation"},
    ],
    "devices": [
        {"id_": 1001, "datasource_id": 11, "name": "FS-01"},
        {"id_": 1002, "datasource_id": 11, "name": "SQL-02"},
        {"id_": 1003, "datasource_id": 11, "name": "NEW-LAPTOP"},
        {"id_": 1201, "datasource_id": 12, "name": "LAPTOP-ACC-1"},
        {"id_": 0, "datasource_id": 12, "name": "UNREGISTERED-PC"},
        {"id_": 1301, "datasource_id": 13, "name": "IMG-NODE"},
        {"id_": 3000000000, "datasource_id": 13, "name": "IMG-HUGE-ID"},
        {"id_": 2101, "datasource_id": 21, "name": "CLINIC-DC"},
        {"id_": 3101, "datasource_id": 31, "name": "QUARRY-PC"},
    ],
    "passphrases": {"1001": "amber-falcon-42", "1002": "copper-heron-17", "1003": "slate-otter-88",
                    "1201": "linen-kite-05", "1301": "quiet river stone", "2101": "birch-lantern-31",
                    "3101": "cobalt-meadow-64"},
}

HELP_EPILOG = """\
endpoints:
  GET  /authorization/vusk     sign-in form (fixture users); with a session cookie, or with
                               --auto-sign-in, it signs in at once
  POST /authorization/vusk     form submit (user=NAME); navigates to SENTINEL + token
  GET  /auth/logout            ends the session, redirects to /login
  GET  /login                  signed-out page with a link back to the sign-in form
  GET  /vusk/clients?partner_id=N            (partner_id=0: every client)
  GET  /vusk/datasources?client_id=N
  GET  /vusk/devices?datasource_id=N&datasource_type=T&client_id=N
  GET  /vusk/devices/ID/get_token?datasource_id=N
  GET  /vusk/devices/ID/encryption_passphrase
  GET  /Corvel/autoupdate.xml  update descriptor
  GET  /Corvel/Corvel_installer.exe, /Corvel/Corvel_installer_x86.exe   installer bytes
  GET  /isodownload/Recovery.iso                                        recovery image bytes
  The /vusk API wants "Authorization: Bearer TOKEN" with a token this simulator issued;
  otherwise 401.

fault injection (PATH matches the request path without the query, by prefix):
  --fault-status /vusk/clients=500   --fault-status /vusk/clients=500x1 (the first request only)
  --fault-delay /vusk=2000   --fault-empty /vusk/devices
  --fault-malformed /Corvel/autoupdate.xml
  --fault-oversize /vusk/clients=20000000    (a JSON array padded with blanks to that many bytes)
  --fault-inflate /vusk/clients=1073741824   (about 1 MB of gzip that inflates to that many bytes)
  --installer-size 268435456                 (the installer streamed at that size)

data file (--data): JSON with the keys of the built-in set: "users" (name -> token "data"
members, or {"broken": true}), "clients", "datasources", "devices" (records plus their
parent ids "partner_id", "client_id", "datasource_id"), "passphrases" (device id -> text).

built-in set, worth knowing for demos and tests:
  partner (reseller 7): clients 101 northwind, 102 harbourside, 103 quarry, 104 Abbotsford,
    105 crabtree, 106 lakeside ("Lakeside Abbey": "ab" in the name only)
  client 101: data sources 11 (devices 1001 FS-01, 1002 SQL-02, 1003 NEW-LAPTOP with no
    restore points), 12 (1201 LAPTOP-ACC-1, and a device with id 0), 13 (1301, 3000000000)
  encryption passphrases: 1001 amber-falcon-42, 1002 copper-heron-17, 1003 slate-otter-88,
    1201 linen-kite-05, 1301 "quiet river stone", 2101 birch-lantern-31, 3101 cobalt-meadow-64
"""


def installer_bytes(size=393216):
    """Deterministic pseudo-random bytes (SHA-256 counter stream)."""
    out = bytearray()
    for block in itertools.count():
        if len(out) >= size:
            break
        out += hashlib.sha256(b"corvel-installer-%d" % block).digest()
    return bytes(out[:size])


def iso_bytes(size=65536):
    head = b"CD001 Corvel recovery image (simulated)\n"
    return (head * (size // len(head) + 1))[:size]


def padded_array(size, chunk=1 << 20):
    """The chunks of "[", blanks and "]", size bytes in all (at least 2)."""
    size = max(size, 2)
    yield b"["
    left = size - 2
    blanks = b" " * chunk
    while left > 0:
        yield blanks[:min(left, chunk)]
        left -= min(left, chunk)
    yield b"]"


def cycled(data, size):
    """The chunks of data repeated up to size bytes."""
    left = size
    while left > 0:
        yield data[:min(left, len(data))]
        left -= min(left, len(data))


def parse_pairs(values, option, convert):
    pairs = []
    for value in values or []:
        path, sep, arg = value.rpartition("=")
        if not sep or not path.startswith("/"):
            raise SystemExit("%s expects PATH=VALUE with PATH starting with '/': %r" % (option, value))
        try:
            pairs.append((path, convert(arg)))
        except ValueError:
            raise SystemExit("%s: %r is not a number" % (option, arg))
    return pairs


class Simulator:
    def __init__(self, args):
        self.args = args
        self.data = copy.deepcopy(DEFAULT_DATA)
        if args.data:
            with open(args.data, encoding="utf-8") as f:
                self.data = json.load(f)
        if args.auto_sign_in and args.auto_sign_in not in self.data.get("users", {}):
            raise SystemExit("--auto-sign-in: no fixture user %r" % args.auto_sign_in)
        self.secret = secrets.token_bytes(32)
        self.lock = threading.Lock()
        self.sessions = {}  # session id -> user name
        self.token_uses = {}  # token -> API requests served
        self.serial = itertools.count(1)
        self.log_file = open(args.log, "a", encoding="utf-8") if args.log else None
        self.fault_status = parse_pairs(args.fault_status, "--fault-status", parse_status)
        self.fault_status_served = {}  # path prefix -> faults answered so far
        self.fault_delay = parse_pairs(args.fault_delay, "--fault-delay", int)
        self.installer = installer_bytes()
        self.iso = iso_bytes()
        self.fault_oversize = parse_pairs(args.fault_oversize, "--fault-oversize", int)
        self.fault_inflate = parse_pairs(args.fault_inflate, "--fault-inflate", int)
        self.inflating = {}  # inflated size -> gzip body
        self.inflating_lock = threading.Lock()
        # Compressing takes seconds: done before listening, so no request waits on it (a client
        # with a time-out would otherwise see a slow server instead of an inflating body).
        for _, size in self.fault_inflate:
            self.inflating_body(size)

    def inflating_body(self, size):
        """A gzip stream of a JSON array padded with blanks to size bytes, made once per size."""
        with self.inflating_lock:
            body = self.inflating.get(size)
            if body is None:
                compressor = zlib.compressobj(9, zlib.DEFLATED, 31)
                parts = []
                for chunk in padded_array(size):
                    parts.append(compressor.compress(chunk))
                parts.append(compressor.flush())
                body = self.inflating[size] = b"".join(parts)
            return body

    def take_status_fault(self, path):
        for prefix, (code, times) in self.fault_status:
            if path.startswith(prefix):
                with self.lock:
                    served = self.fault_status_served.get(prefix, 0)
                    if times is not None and served >= times:
                        return None
                    self.fault_status_served[prefix] = served + 1
                return code
        return None

    def log(self, line):
        with self.lock:
            sys.stderr.write(line + "\n")
            sys.stderr.flush()
            if self.log_file:
                self.log_file.write(line + "\n")
                self.log_file.flush()

    # Tokens: header.payload.signature, the payload standard base64 JSON with a "data" object.
    def issue_token(self, user):
        fixture = self.data["users"][user]
        serial = next(self.serial)
        header = base64.urlsafe_b64encode(b'{"alg":"HS256","typ":"JWT"}').decode().rstrip("=")
        if fixture.get("broken"):
            payload = "not-base64!%d" % serial
        else:
            claims = {"data": {k: v for k, v in fixture.items()}, "iat": int(time.time()), "jti": serial}
            payload = base64.b64encode(json.dumps(claims, separators=(",", ":")).encode()).decode()
        signature = hmac.new(self.secret, (header + "." + payload).encode(), hashlib.sha256).hexdigest()
        return header + "." + payload + "." + signature

    def token_ok(self, token):
        """Checks the signature and counts the use; False when unknown or expired."""
        parts = token.split(".")
        if len(parts) != 3:
            return False
        expected = hmac.new(self.secret, (parts[0] + "." + parts[1]).encode(), hashlib.sha256).hexdigest()
        if not hmac.compare_digest(expected, parts[2]):
            return False
        with self.lock:
            used = self.token_uses.get(token, 0) + 1
            self.token_uses[token] = used
        return self.args.token_expiry is None or used <= self.args.token_expiry


def parse_status(text):
    """CODE, or CODExN for a fault that answers only the first N matching requests."""
    code, _, times = text.partition("x")
    return (int(code), int(times) if times else None)


def matching(pairs, path):
    for prefix, value in pairs:
        if path.startswith(prefix):
            return value
    return None


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "CloudSim/1.0"
    sim = None  # set by main

    def log_message(self, format, *args):  # the simulator writes its own request log
        pass

    # -- plumbing ---------------------------------------------------------------------------
    def reply(self, status, body=b"", content_type="application/json", headers=()):
        if isinstance(body, str):
            body = body.encode("utf-8")
        # Logged first: a client that has its whole answer may read the log at once.
        self.sim.log("%s %s %d" % (self.command, self.path, status))
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(len(body)))
        for name, value in headers:
            self.send_header(name, value)
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(body)

    def reply_stream(self, status, size, chunks, content_type, headers=()):
        """Sends a body of size bytes chunk by chunk, never whole; a client that gives up is no error."""
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(size))
        for name, value in headers:
            self.send_header(name, value)
        self.end_headers()
        note = ""
        if self.command != "HEAD":
            try:
                for chunk in chunks:
                    self.wfile.write(chunk)
            except (BrokenPipeError, ConnectionResetError):
                note = " (client closed the connection)"
                self.close_connection = True
        self.sim.log("%s %s %d%s" % (self.command, self.path, status, note))

    def reply_json(self, value):
        self.reply(200, json.dumps(value))

    def page(self, title, body, status=200, headers=()):
        text = ("<!DOCTYPE html><html><head><meta charset='utf-8'><title>%s</title>"
                "<style>body{font-family:sans-serif;background:#f3f5f8;margin:0}"
                ".card{width:360px;margin:80px auto;background:#fff;padding:32px;border-radius:6px;"
                "box-shadow:0 2px 8px rgba(0,0,0,.15)}h1{font-size:22px;color:#1d3b5a}"
                "label{display:block;margin:12px 0 4px;color:#444}select,input{width:100%%;padding:8px;"
                "box-sizing:border-box}button{margin-top:20px;width:100%%;padding:10px;background:#1d6fb8;"
                "color:#fff;border:0;border-radius:4px;font-size:15px}</style></head>"
                "<body><div class='card'>%s</div></body></html>") % (html.escape(title), body)
        self.reply(status, text, "text/html; charset=utf-8", headers)

    def split(self):
        parts = urlsplit(self.path)
        return parts.path, parse_qs(parts.query)

    def inject_faults(self, path):
        """True when a fault already answered the request."""
        delay = matching(self.sim.fault_delay, path)
        if delay:
            time.sleep(delay / 1000.0)
        status = self.sim.take_status_fault(path)
        if status is not None:
            self.reply(status, json.dumps({"error": "injected fault", "status": status}))
            return True
        size = matching(self.sim.fault_oversize, path)
        if size is not None:
            self.reply_stream(200, max(size, 2), padded_array(size), "application/json")
            return True
        size = matching(self.sim.fault_inflate, path)
        if size is not None:
            body = self.sim.inflating_body(size)
            self.reply_stream(200, len(body), [body], "application/json", [("Content-Encoding", "gzip")])
            return True
        if matching([(p, True) for p in self.sim.args.fault_empty or []], path):
            self.reply(200, b"")
            return True
        if matching([(p, True) for p in self.sim.args.fault_malformed or []], path):
            if path.endswith(".xml"):
                self.reply(200, "<BuildInfo><Version>1.7.0.999</Version", "application/xml")
            else:
                self.reply(200, '[{"id_": 1, "name": "trunc', "application/json")
            return True
        return False

    def base_url(self):
        scheme = "https" if self.sim.args.tls else "http"
        host = self.headers.get("Host") or "127.0.0.1:%d" % self.server.server_address[1]
        return "%s://%s" % (scheme, host)

    # -- dispatch ---------------------------------------------------------------------------
    def do_HEAD(self):
        self.do_GET()

    def do_GET(self):
        path, query = self.split()
        if self.inject_faults(path):
            return
        if path == "/authorization/vusk":
            return self.sign_in_page()
        if path == "/auth/logout":
            return self.logout()
        if path == "/login":
            return self.page("Signed out", "<h1>You are signed out</h1>"
                             "<p><a id='sign_in_again' href='/authorization/vusk'>Sign in</a></p>")
        if path.startswith("/vusk/"):
            return self.api(path[len("/vusk"):], query)
        if path == "/Corvel/autoupdate.xml":
            return self.descriptor()
        if path in ("/Corvel/Corvel_installer.exe", "/Corvel/Corvel_installer_x86.exe"):
            size = self.sim.args.installer_size
            if size is not None:
                return self.reply_stream(200, size, cycled(self.sim.installer, size), "application/octet-stream")
            return self.reply(200, self.sim.installer, "application/octet-stream")
        if path == "/isodownload/Recovery.iso":
            return self.reply(200, self.sim.iso, "application/octet-stream")
        self.reply(404, json.dumps({"error": "not found"}))

    def do_POST(self):
        path, _ = self.split()
        length = int(self.headers.get("Content-Length") or 0)
        form = parse_qs(self.rfile.read(length).decode("utf-8", "replace"))
        if self.inject_faults(path):
            return
        if path != "/authorization/vusk":
            return self.reply(405, json.dumps({"error": "method not allowed"}))
        user = (form.get("user") or [""])[0]
        if user not in self.sim.data["users"]:
            return self.sign_in_form("Unknown user.", status=200)
        self.hand_over(user, new_session=True)

    # -- sign-in ----------------------------------------------------------------------------
    def session_user(self):
        cookie = self.headers.get("Cookie") or ""
        for item in cookie.split(";"):
            name, _, value = item.strip().partition("=")
            if name == "cloudsim_session":
                with self.sim.lock:
                    return self.sim.sessions.get(value)
        return None

    def sign_in_page(self):
        user = self.session_user()
        if user:
            return self.hand_over(user, new_session=False)
        if self.sim.args.auto_sign_in:
            return self.hand_over(self.sim.args.auto_sign_in, new_session=True)
        self.sign_in_form()

    def sign_in_form(self, message="", status=200):
        options = "".join("<option value='%s'>%s</option>" % (html.escape(name), html.escape(name))
                          for name in self.sim.data["users"])
        note = "<p style='color:#b00'>%s</p>" % html.escape(message) if message else ""
        self.page("Sign in", "<h1>Sign in to the recovery cloud</h1>%s"
                  "<form id='sign_in_form' method='post' action='/authorization/vusk'>"
                  "<label for='user'>User</label><select id='user' name='user'>%s</select>"
                  "<label for='password'>Password</label>"
                  "<input id='password' name='password' type='password' value='simulated'>"
                  "<button id='sign_in' type='submit'>Sign in</button></form>" % (note, options),
                  status=status)

    def hand_over(self, user, new_session):
        headers = []
        if new_session:
            session = secrets.token_hex(16)
            with self.sim.lock:
                self.sim.sessions[session] = user
            headers.append(("Set-Cookie", "cloudsim_session=%s; Path=/; Max-Age=86400; HttpOnly" % session))
        target = self.sim.args.sentinel + self.sim.issue_token(user)
        quoted = json.dumps(target)
        self.page("Signing in", "<h1>Signing in as %s</h1><p>One moment&hellip;</p>"
                  "<script>window.location.replace(%s);</script>" % (html.escape(user), quoted),
                  headers=headers)

    def logout(self):
        cookie = self.headers.get("Cookie") or ""
        with self.sim.lock:
            for item in cookie.split(";"):
                name, _, value = item.strip().partition("=")
                if name == "cloudsim_session":
                    self.sim.sessions.pop(value, None)
        self.reply(302, b"", "text/plain", [("Location", "/login"),
                                             ("Set-Cookie", "cloudsim_session=; Path=/; Max-Age=0")])

    # -- recovery API -----------------------------------------------------------------------
    def api(self, path, query):
        auth = self.headers.get("Authorization") or ""
        if not auth.startswith("Bearer ") or not self.sim.token_ok(auth[len("Bearer "):]):
            return self.reply(401, json.dumps({"error": "unauthorized"}), headers=[("WWW-Authenticate", "Bearer")])

        def number(name):
            try:
                return int((query.get(name) or ["0"])[0])
            except ValueError:
                return -1

        data = self.sim.data
        strip = lambda record, *keys: {k: v for k, v in record.items() if k not in keys}
        if path == "/clients":
            partner = number("partner_id")
            return self.reply_json([strip(c, "partner_id") for c in data["clients"]
                                    if partner == 0 or c.get("partner_id") == partner])
        if path == "/datasources":
            client = number("client_id")
            return self.reply_json([strip(d, "client_id") for d in data["datasources"]
                                    if d.get("client_id") == client])
        if path == "/devices":
            source = number("datasource_id")
            return self.reply_json([strip(d, "datasource_id") for d in data["devices"]
                                    if d.get("datasource_id") == source])
        parts = path.strip("/").split("/")
        if len(parts) == 3 and parts[0] == "devices":
            device = next((d for d in data["devices"] if str(d["id_"]) == parts[1]), None)
            if device is None:
                return self.reply(404, json.dumps({"error": "no such device"}))
            if parts[2] == "get_token":
                return self.reply_json({"url": "%s/restore/%s" % (self.base_url(), parts[1]),
                                        "token": "device-token-%s-%d" % (parts[1], number("datasource_id"))})
            if parts[2] == "encryption_passphrase":
                return self.reply_json({"passphrase": data.get("passphrases", {}).get(parts[1], "")})
        self.reply(404, json.dumps({"error": "not found"}))

    # -- updates ----------------------------------------------------------------------------
    def descriptor(self):
        base = self.base_url()
        xml = ("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<BuildInfo>\n"
               "  <MsiPathX64>%s/Corvel/Corvel_installer.exe</MsiPathX64>\n"
               "  <MsiPath>%s/Corvel/Corvel_installer_x86.exe</MsiPath>\n"
               "  <Version>%s</Version>\n"
               "  <Notice>Corvel %s is available.</Notice>\n</BuildInfo>\n"
               % (base, base, html.escape(self.sim.args.update_version), html.escape(self.sim.args.update_version)))
        self.reply(200, xml, "application/xml")


class Server(ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, address, handler, tls_context):
        self.tls_context = tls_context
        super().__init__(address, handler)

    def finish_request(self, request, client_address):
        # The TLS handshake runs in the connection's own thread, so a stalled client blocks no one.
        if self.tls_context:
            try:
                request = self.tls_context.wrap_socket(request, server_side=True)
            except (ssl.SSLError, OSError) as error:
                sys.stderr.write("TLS handshake with %s failed: %s\n" % (client_address[0], error))
                return
        super().finish_request(request, client_address)


def main(argv=None):
    parser = argparse.ArgumentParser(
        prog="cloud_sim.py", description=__doc__.split("\n\n")[0],
        formatter_class=argparse.RawDescriptionHelpFormatter, epilog=HELP_EPILOG)
    parser.add_argument("--port", type=int, default=0, help="port on 127.0.0.1 (0: any free port)")
    parser.add_argument("--tls", metavar="DIR", help="serve HTTPS with DIR/tolvex.crt and DIR/tolvex.key")
    parser.add_argument("--data", metavar="FILE", help="JSON fixture file instead of the built-in set")
    parser.add_argument("--update-version", metavar="V", default="1.7.0.377",
                        help="version in the update descriptor (default 1.7.0.377)")
    parser.add_argument("--auto-sign-in", metavar="USER", help="sign USER in without showing the form")
    parser.add_argument("--log", metavar="FILE", help="append one line per request to FILE (also on stderr)")
    parser.add_argument("--fault-status", metavar="PATH=CODE[xN]", action="append",
                        help="answer requests under PATH with status CODE, or only the first N of them "
                             "with CODExN (repeatable)")
    parser.add_argument("--fault-delay", metavar="PATH=MS", action="append",
                        help="wait MS milliseconds before answering under PATH (repeatable)")
    parser.add_argument("--fault-empty", metavar="PATH", action="append",
                        help="answer 200 with an empty body under PATH (repeatable)")
    parser.add_argument("--fault-malformed", metavar="PATH", action="append",
                        help="answer 200 with broken JSON (XML for .xml paths) under PATH (repeatable)")
    parser.add_argument("--fault-oversize", metavar="PATH=BYTES", action="append",
                        help="answer 200 under PATH with a JSON array padded with blanks to BYTES bytes, "
                             "streamed (repeatable)")
    parser.add_argument("--fault-inflate", metavar="PATH=BYTES", action="append",
                        help="answer 200 under PATH with a gzip-encoded JSON array that inflates to BYTES "
                             "bytes (repeatable)")
    parser.add_argument("--installer-size", metavar="BYTES", type=int,
                        help="serve the installer at BYTES bytes (the usual bytes repeated), streamed")
    parser.add_argument("--token-expiry", metavar="N", type=int,
                        help="a token stops working after N API requests")
    parser.add_argument("--sentinel", default=DEFAULT_SENTINEL,
                        help="address the sign-in page hands the token to (default %s)" % DEFAULT_SENTINEL)
    args = parser.parse_args(argv)
    for path in (args.fault_empty or []) + (args.fault_malformed or []):
        if not path.startswith("/"):
            parser.error("fault paths start with '/': %r" % path)

    Handler.sim = Simulator(args)
    context = None
    if args.tls:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(os.path.join(args.tls, "tolvex.crt"), os.path.join(args.tls, "tolvex.key"))
    server = Server(("127.0.0.1", args.port), Handler, context)
    scheme = "https" if context else "http"
    print("listening on %s://127.0.0.1:%d" % (scheme, server.server_address[1]), flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    finally:
        server.server_close()


if __name__ == "__main__":
    main()
