"""A studio that runs, and pages of it that no browser shows."""
import base64
import http.client
import json
import os
import re
import socket
import struct
import subprocess

TEXT, PICTURE, CLOSE, PING, PONG = 1, 2, 8, 9, 10


class Studio:
    """The program in a folder of its own; what it keeps lies there, too."""

    def __init__(self, program, folder, words):
        environment = dict(os.environ, XDG_STATE_HOME=f"{folder}/.state", XDG_CONFIG_HOME=f"{folder}/.config")
        self.process = subprocess.Popen([program, "studio", "--no-browser", *words], cwd=folder, env=environment,
                                        stdout=subprocess.PIPE, text=True)
        address = self.process.stdout.readline().split()[-1]
        port, token = re.fullmatch(r"http://127\.0\.0\.1:(\d+)/\?token=(\w+)", address).groups()
        self.port = int(port)
        visit = http.client.HTTPConnection("127.0.0.1", self.port)
        visit.request("GET", f"/?token={token}")
        self.cookie = visit.getresponse().getheader("Set-Cookie").split(";")[0]
        visit.close()

    def end(self):
        """Returns the exit code."""
        self.process.terminate()
        return self.process.wait()


class Page:
    """A socket of a studio, with as much of RFC 6455 as it takes. Reading and writing may be done on two threads."""

    def __init__(self, studio):
        host = f"127.0.0.1:{studio.port}"
        self.socket = socket.create_connection(("127.0.0.1", studio.port))
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        key = base64.b64encode(os.urandom(16)).decode()
        self.socket.sendall(
            f"GET /socket HTTP/1.1\r\nHost: {host}\r\nOrigin: http://{host}\r\nCookie: {studio.cookie}\r\n"
            f"Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n\r\n".encode())
        self.bytes = b""
        while b"\r\n\r\n" not in self.bytes:
            self.bytes += self.received(4096)
        self.bytes = self.bytes.split(b"\r\n\r\n", 1)[1]

    def received(self, most):
        part = self.socket.recv(most)
        if not part:
            raise ConnectionError("the studio has closed the connection")
        return part

    def take(self, count):
        while len(self.bytes) < count:
            self.bytes += self.received(1 << 20)
        taken, self.bytes = self.bytes[:count], self.bytes[count:]
        return taken

    def read(self):
        """What the next message is, and its bytes. A question whether the page is there is answered."""
        while True:
            head = self.take(2)
            size = head[1] & 127
            if size >= 126:
                size = int.from_bytes(self.take(2 if size == 126 else 8), "big")
            opcode, payload = head[0] & 15, self.take(size)
            if opcode == CLOSE:
                raise ConnectionError("the studio has ended")
            if opcode != PING:
                return opcode, payload
            self.write(PONG, payload)

    @staticmethod
    def picture(payload):
        """The header of a picture, and its bytes."""
        size = struct.unpack("<I", payload[:4])[0]
        return json.loads(payload[4:4 + size]), payload[4 + size:]

    def frame(self):
        """The next frame's header and the bytes of its picture."""
        while True:
            opcode, payload = self.read()
            if opcode == PICTURE:
                header, picture = self.picture(payload)
                if header["kind"] == "frame":
                    return header, picture

    def send(self, message):
        self.write(TEXT, json.dumps(message).encode())

    def write(self, opcode, payload):
        size = bytes([0x80 | len(payload)]) if len(payload) < 126 else bytes([0xFE]) + struct.pack(">H", len(payload))
        mask = os.urandom(4)
        self.socket.sendall(bytes([0x80 | opcode]) + size + mask + bytes(byte ^ mask[at % 4] for at, byte in enumerate(payload)))

    def close(self, abruptly=False):
        """Without a farewell; `abruptly`: what is on its way is thrown away, too."""
        if abruptly:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        else:
            self.socket.shutdown(socket.SHUT_RDWR)
        self.socket.close()
