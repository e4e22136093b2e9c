"""Recordings of plain shape: topics, messages and columns of float64 as asked for."""
import array
import random
import struct
import zlib

CHUNK = 1 << 20
START = 1_700_000_000_000_000_000
MAGIC = b"\x89MCAP0\r\n"


def text(value):
    return struct.pack("<I", len(value)) + value.encode()


def record(opcode, body):
    return struct.pack("<BQ", opcode, len(body)) + body


def chunks(topics, messages, payload):
    """The messages of each chunk with their first and last time; topics take turns."""
    body, first = bytearray(), START
    for i in range(messages):
        time = START + i * 1_000_000
        body += record(5, struct.pack("<HIQQ", i % topics + 1, i // topics, time, time) + payload(i))
        if len(body) >= CHUNK or i + 1 == messages:
            yield bytes(body), first, time
            body, first = bytearray(), time + 1_000_000


def write_recording(path, topics, messages, columns):
    """An indexed MCAP file without compression: `messages` of `columns` values over `topics`."""
    pool = random.Random(5)
    values = array.array("d", (pool.gauss(0, 1) for _ in range(columns + 4096)))
    definitions = record(3, struct.pack("<H", 1) + text("test_msgs/msg/Values") + text("ros2msg") + text(f"float64[{columns}] values\n"))
    for i in range(topics):
        definitions += record(4, struct.pack("<HH", i + 1, 1) + text(f"/topic_{i}") + text("cdr") + struct.pack("<I", 0))

    def payload(i):
        begin = i * 7 % 4096
        return b"\0\1\0\0" + values[begin : begin + columns].tobytes()

    with open(path, "wb") as file:
        file.write(MAGIC + record(1, text("ros2") + text("benchmark")) + definitions)
        index = b""
        count = 0
        for body, first, last in chunks(topics, messages, payload):
            start = file.tell()
            head = struct.pack("<QQQI", first, last, len(body), zlib.crc32(body)) + text("")
            file.write(record(6, head + struct.pack("<Q", len(body)) + body))
            index += record(8, struct.pack("<QQQQ", first, last, start, file.tell() - start) + struct.pack("<IQ", 0, 0) + text("") + struct.pack("<QQ", len(body), len(body)))
            count += 1
        file.write(record(15, struct.pack("<I", 0)))
        summary = file.tell()
        counts = b"".join(struct.pack("<HQ", i + 1, len(range(i, messages, topics))) for i in range(topics))
        end = START + (messages - 1) * 1_000_000
        statistics = record(11, struct.pack("<QHIIIIQQ", messages, 1, topics, 0, 0, count, START, end) + struct.pack("<I", len(counts)) + counts)
        file.write(definitions + statistics + index + record(2, struct.pack("<QQI", summary, 0, 0)) + MAGIC)
