#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets from real peers: the cloud simulator's sign-in
tokens, API replies and update descriptor, the configuration file the tests use, and a local
cache made by restic. The service replies come from the make_service_replies tool (built with
the tests), given as the second argument.

Usage: make_seeds.py SOURCE_DIR BUILD_DIR   (rewrites tests/fuzz/corpus/*)
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import urllib.parse
import urllib.request

source, build = sys.argv[1], sys.argv[2]
corpus = os.path.join(source, "tests", "fuzz", "corpus")
PASSWORD = "corvel-fuzz-passphrase"  # the key file target opens keys with this


def folder(name):
    path = os.path.join(corpus, name)
    os.makedirs(path, exist_ok=True)
    return path


def write(name, file, data):
    with open(os.path.join(folder(name), file), "wb") as out:
        out.write(data if isinstance(data, bytes) else data.encode())


sim = subprocess.Popen([sys.executable, os.path.join(source, "tools", "cloud-sim", "cloud_sim.py")],
                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
try:
    base = sim.stdout.readline().split()[-1]

    def get(path, token=None, data=None):
        request = urllib.request.Request(base + path, data=data)
        if token:
            request.add_header("Authorization", "Bearer " + token)
        with urllib.request.urlopen(request) as reply:
            return reply.read()

    tokens = {}
    for user in ("partner", "client", "admin", "broken"):
        page = get("/authorization/vusk", data=urllib.parse.urlencode({"user": user}).encode()).decode()
        tokens[user] = re.search(r'"http://vusk-api-token/([^"]+)"', page).group(1)
        write("access_token", user + ".txt", tokens[user])

    partner = tokens["partner"]
    write("cloud_replies", "clients.json", get("/vusk/clients?partner_id=7", partner))
    write("cloud_replies", "datasources.json", get("/vusk/datasources?client_id=101", partner))
    write("cloud_replies", "devices.json",
          get("/vusk/devices?datasource_id=13&datasource_type=image&client_id=101", partner))
    write("cloud_replies", "get_token.json", get("/vusk/devices/1001/get_token?datasource_id=11", partner))
    write("cloud_replies", "passphrase.json", get("/vusk/devices/1301/encryption_passphrase", partner))
    write("update_descriptor", "autoupdate.xml", get("/Corvel/autoupdate.xml"))
finally:
    sim.terminate()
    sim.wait()

malformed = subprocess.Popen([sys.executable, os.path.join(source, "tools", "cloud-sim", "cloud_sim.py"),
                              "--fault-malformed", "/Corvel/autoupdate.xml"],
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
try:
    base = malformed.stdout.readline().split()[-1]
    with urllib.request.urlopen(base + "/Corvel/autoupdate.xml") as reply:
        write("update_descriptor", "malformed.xml", reply.read())
finally:
    malformed.terminate()
    malformed.wait()

# The configuration: every key with a value of its type, and the shipped empty object.
write("settings", "full.json", json.dumps({
    "use_software_opengl": True, "disable_services_autostart": False,
    "auth_url": "https://console.cloud.invalid/authorization/vusk", "update_url":
    "https://updates.cloud.invalid/Corvel/autoupdate.xml", "vusk_url": "https://api.cloud.invalid/vusk",
    "connection_retries_number": 3, "bmr_url": "http://download.cloud.invalid/isodownload/Recovery.iso"},
    indent=4))
write("settings", "empty.json", "{}\n")

# A local cache made by restic (format versions 1 and 2): its key file and decrypted config.
work = tempfile.mkdtemp()
try:
    env = dict(os.environ, RESTIC_PASSWORD=PASSWORD, RESTIC_CACHE_DIR=os.path.join(work, "cache"))
    for version in ("1", "2"):
        repo = os.path.join(work, "v" + version)
        subprocess.run(["restic", "init", "--repo", repo, "--repository-version", version], env=env,
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        key = os.listdir(os.path.join(repo, "keys"))[0]
        with open(os.path.join(repo, "keys", key), "rb") as file:
            contents = file.read()
        write("cache_key_file", "v%s.key" % version, contents)
        # The same key file with scrypt parameters cheap enough for the fuzzer to derive a key
        # on every input (its MAC check then fails, as for any key file opened with a wrong key).
        cheap = json.loads(contents)
        cheap.update(N=16, r=1, p=1)
        write("cache_key_file", "v%s-cheap.key" % version, json.dumps(cheap, separators=(",", ":")))
        config = subprocess.run(["restic", "cat", "config", "--repo", repo], env=env, check=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        write("cache_config", "v%s.json" % version, config)
finally:
    shutil.rmtree(work)

# The service's replies, from the simulator's handler.
subprocess.run([os.path.join(build, "tests", "make_service_replies"), folder("service_replies")], check=True)
