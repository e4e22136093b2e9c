"""A recording with every awkward value, and what each of its cells has to say."""
import math
import struct

TYPE = b"""
enum Mode { IDLE, RUN };
@final struct Awkward {
  boolean flag;
  int64 least;
  uint64 most;
  double real;
  float single;
  string text;
  Mode mode;
  @optional double maybe;
  sequence<int32> few;
  sequence<int32> wide;
};
"""

# flag, least, most, real, single, text, mode, maybe, few, length of wide
SAMPLES = [
    (True, -(2**63), 2**64 - 1, math.nan, 0.1, "", "IDLE", None, [], 0),
    (False, 2**63 - 1, 0, math.inf, -math.inf, 'comma, "quoted"', "RUN", 0.5, [7], 0),
    (False, 2**53 + 1, 2**53 + 1, 5e-324, 1e-45, "line\nbreak", "RUN", -0.0, [-8, 7], 1500),
    (False, 0, 0, 1.7976931348623157e308, 3.4028234663852886e38, "NaN", "RUN", 0.1, [-(2**31)], 1),
    (True, -1, 1, 123456.789012345, -0.0, "Grüße, 世界 🤖", "IDLE", 1e-7, [2**31 - 1], 2),
    (True, 1, 2, 1 / 3, 16777216.0, " lead and trail ", "IDLE", 1e21, [1, 2, 3], 3),
    (True, 1, 2, -1.5, 0.25, "=1+1", "IDLE", None, [], 0),
]
FIRST_NS = 1_700_000_000_123_456_789


class Payload:
    """Plain CDR of the second version, little endian: nothing is aligned beyond four bytes."""

    def __init__(self):
        self.data = b""

    def put(self, code, value):
        self.data += bytes(-len(self.data) % min(4, struct.calcsize(code))) + struct.pack("<" + code, value)

    def put_counted(self, data, count):
        self.put("I", count)
        self.data += data


def payload(flag, least, most, real, single, text, mode, maybe, few, wide):
    out = Payload()
    for code, value in zip("?qQdf", (flag, least, most, real, single)):
        out.put(code, value)
    encoded = text.encode() + b"\0"
    out.put_counted(encoded, len(encoded))
    out.put("i", ["IDLE", "RUN"].index(mode))
    out.put("?", maybe is not None)
    if maybe is not None:
        out.put("d", maybe)
    for numbers in (few, list(range(wide))):
        out.put_counted(struct.pack(f"<{len(numbers)}i", *numbers), len(numbers))
    return bytes([0, 7, 0, 0]) + out.data


def counted(data):
    return struct.pack("<I", len(data)) + data


def record(opcode, content):
    return struct.pack("<BQ", opcode, len(content)) + content


def recording():
    """The recording's bytes: an MCAP file without chunks, one message for each sample."""
    magic = b"\x89MCAP0\r\n"
    schema = struct.pack("<H", 1) + counted(b"Awkward") + counted(b"omgidl") + counted(TYPE)
    channel = struct.pack("<HH", 1, 1) + counted(b"/awkward") + counted(b"cdr") + counted(b"")
    out = magic + record(1, counted(b"") + counted(b"awkward")) + record(3, schema) + record(4, channel)
    for number, sample in enumerate(SAMPLES):
        stamps = struct.pack("<HIQQ", 1, number, FIRST_NS + number, FIRST_NS + number)
        out += record(5, stamps + payload(*sample))
    return out + record(15, bytes(4)) + record(2, bytes(20)) + magic


def columns():
    """Title -> the values of the column, None for nothing."""
    single = [struct.unpack("<f", struct.pack("<f", sample[4]))[0] for sample in SAMPLES]
    out = {"timestamp": [FIRST_NS + number for number in range(len(SAMPLES))]}
    for index, name in enumerate(("flag", "least", "most", "real", "single", "text", "mode", "maybe")):
        out[name] = single if name == "single" else [sample[index] for sample in SAMPLES]
    for name, rows in (("few", [s[8] for s in SAMPLES]), ("wide", [list(range(s[9])) for s in SAMPLES])):
        out[f"{name}.length"] = [len(row) for row in rows]
        for index in range(max(map(len, rows))):
            out[f"{name}[{index}]"] = [row[index] if index < len(row) else None for row in rows]
    return out
