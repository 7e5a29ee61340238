#!/usr/bin/env python3
"""A container engine that holds nothing but numbers: what the docker client asks it for is answered from a JSON object.

Usage: stand_in_engine.py SOCKET STATE [answer|hang|garbage|error] [API-VERSION]

STATE: {"images": [[size, containers], ...], "containers": [[size, state], ...], "volumes": [[size, users], ...],
"cache": [[size, in use], ...]}, each part optional. The four prunes report the sum of what nobody uses and take it away.
Ends with its parent. The socket is there once it listens.
"""

import http.server
import json
import os
import socketserver
import sys
import threading
import time

SOCKET, STATE = sys.argv[1], json.loads(sys.argv[2])
MODE = sys.argv[3] if len(sys.argv) > 3 else "answer"
API = sys.argv[4] if len(sys.argv) > 4 else "1.50"
CREATED = "2025-01-02T03:04:05Z"
PRUNES = {"build": ("cache", "CachesDeleted"), "images": ("images", "ImagesDeleted"),
          "containers": ("containers", "ContainersDeleted"), "volumes": ("volumes", "VolumesDeleted")}


def rows(kind):
    return [(f"{kind[:5]}{number:02d}" + "0" * 57, size, use) for number, (size, use) in enumerate(STATE.get(kind, []))]


def is_used(use):
    return use == "running" or use not in ("exited", "created", 0, False)


def usage():
    return {
        "LayersSize": sum(size for _, size, _ in rows("images")),
        "Images": [{"Id": "sha256:" + name, "RepoTags": [name[:7] + ":latest"], "Size": size, "SharedSize": 0,
                    "Containers": use, "Created": 1735787045} for name, size, use in rows("images")],
        "Containers": [{"Id": name, "Names": ["/" + name[:7]], "Image": "image", "SizeRw": size, "State": use,
                        "Status": use, "Created": 1735787045} for name, size, use in rows("containers")],
        "Volumes": [{"Name": name, "Driver": "local", "Scope": "local", "Mountpoint": "/", "CreatedAt": CREATED,
                     "UsageData": {"Size": size, "RefCount": use}} for name, size, use in rows("volumes")],
        "BuildCache": [{"ID": name, "Type": "regular", "InUse": use, "Shared": False, "Size": size,
                        "CreatedAt": CREATED} for name, size, use in rows("cache")]}


def pruned(part):
    kind, key = PRUNES[part]
    gone = [(name, size) for name, size, use in rows(kind) if not is_used(use)]
    STATE[kind] = [row for row in STATE.get(kind, []) if is_used(row[1])]
    names = [{"Deleted": name} if kind == "images" else name for name, _ in gone]
    return {key: names, "SpaceReclaimed": sum(size for _, size in gone)}


class Engine(http.server.BaseHTTPRequestHandler):
    def address_string(self):
        return "client"

    def log_message(self, *_):
        pass

    def send(self, body, status=200):
        self.send_response(status)
        for name, value in {"Api-Version": API, "Ostype": "linux", "Builder-Version": "2",
                            "Content-Type": "application/json", "Content-Length": str(len(body))}.items():
            self.send_header(name, value)
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(body)

    def respond(self):
        parts = self.path.partition("?")[0].strip("/").split("/")
        if parts[-1] == "_ping":
            return self.send(b"OK")
        if MODE == "hang":
            time.sleep(3600)
        if MODE != "answer":
            return self.send(b"<html>not today" if MODE == "garbage" else b'{"message": "out of order"}',
                             200 if MODE == "garbage" else 500)
        if parts[-2:] == ["system", "df"]:
            answer = usage()
        elif parts[-1] == "prune":
            answer = pruned(parts[-2])
        elif parts[-1] == "version":
            answer = {"Version": "0.0", "ApiVersion": API, "MinAPIVersion": "1.24", "Os": "linux", "Arch": "amd64"}
        else:
            return self.send(b'{"message": "page not found"}', 404)
        return self.send(json.dumps(answer).encode())

    do_GET = do_HEAD = do_POST = respond


class Server(socketserver.ThreadingUnixStreamServer):
    daemon_threads = True


def end_with_parent(parent):
    while os.getppid() == parent:
        time.sleep(0.5)
    os._exit(0)


threading.Thread(target=end_with_parent, args=(os.getppid(),), daemon=True).start()
Server(SOCKET, Engine).serve_forever()
