"""Recordings of plain shape: topics, messages and columns of float64 as asked for."""
import array
import random
import struct
import zlib

CHUNK = 1 << 20
START_NS = 1_700_000_000_000_000_000
STEP_NS = 1_000_000
MAGIC = b"\x89MCAP0\r\n"


def text(value):
    return struct.pack("<I", len(value)) + value.encode()


def record(opcode, body):
    return struct.pack("<BQ", opcode, len(body)) + body


def definitions(topics, columns):
    """The schema record and the channel records."""
    body = struct.pack("<H", 1) + text("test_msgs/msg/Values") + text("ros2msg") + text(f"float64[{columns}] values\n")
    channels = (struct.pack("<HH", i + 1, 1) + text(f"/topic_{i}") + text("cdr") + bytes(4) for i in range(topics))
    return record(3, body) + b"".join(record(4, channel) for channel in channels)


def chunks(topics, messages, columns):
    """The message records of each chunk with their first and last time; topics take turns."""
    gauss = random.Random(5).gauss
    values = array.array("d", (gauss(0, 1) for _ in range(columns + 4096)))
    body, first = bytearray(), START_NS
    for i in range(messages):
        time, begin = START_NS + i * STEP_NS, i * 7 % 4096
        head = struct.pack("<HIQQ", i % topics + 1, i // topics, time, time)
        body += record(5, head + b"\0\1\0\0" + values[begin : begin + columns].tobytes())
        if len(body) >= CHUNK or i + 1 == messages:
            yield bytes(body), first, time
            body, first = bytearray(), time + STEP_NS


def statistics(topics, messages, chunk_count):
    end = START_NS + (messages - 1) * STEP_NS
    counts = b"".join(struct.pack("<HQ", i + 1, len(range(i, messages, topics))) for i in range(topics))
    totals = struct.pack("<QHIIIIQQI", messages, 1, topics, 0, 0, chunk_count, START_NS, end, len(counts))
    return record(11, totals + counts)


def write_recording(path, topics, messages, columns):
    """An indexed MCAP file without compression: `messages` of `columns` values over `topics`."""
    index = []
    with open(path, "wb") as file:
        file.write(MAGIC + record(1, text("ros2") + text("benchmark")) + definitions(topics, columns))
        for body, first, last in chunks(topics, messages, columns):
            start, size = file.tell(), len(body)
            head = struct.pack("<QQQI", first, last, size, zlib.crc32(body)) + text("") + struct.pack("<Q", size)
            file.write(record(6, head + body))
            place = struct.pack("<QQQQIQ", first, last, start, file.tell() - start, 0, 0)
            index.append(record(8, place + text("") + struct.pack("<QQ", size, size)))
        file.write(record(15, bytes(4)))
        summary = file.tell()
        file.write(definitions(topics, columns) + statistics(topics, messages, len(index)) + b"".join(index))
        file.write(record(2, struct.pack("<QQI", summary, 0, 0)) + MAGIC)
