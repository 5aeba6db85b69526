"""Pictures of what compositors show, and where the panel is in them: for check-compositors."""
import struct
import zlib

LEAST = 100  # what is lower than this is no card
DARK = bytes(value < 80 for value in range(256))  # the card is, what is behind it is magenta


class Failure(Exception):
    """What did not work, in words for the table."""


class Picture:
    """The pixels of an output, three bytes each, and which of them are dark."""

    def __init__(self, width, height, pixels):
        self.width, self.height, self.pixels = width, height, pixels
        self.dark = pixels[::3].translate(DARK)

    @staticmethod
    def of_ppm(data):
        if data[:2] != b"P6":
            raise Failure("lets nobody take a picture")
        _, size, _, pixels = data.split(b"\n", 3)
        return Picture(*map(int, size.split()), pixels)

    @staticmethod
    def of_xwd(path, left, width, height):
        """A part, from the top, of what an X server keeps in a file."""
        with open(path, "rb") as file:
            header = struct.unpack(">25I", file.read(100))
            start, line, colours = header[0], header[12], header[19]
            file.seek(start + 12 * colours)
            screen = file.read(line * height)
        rows = (screen[y * line + 4 * left:y * line + 4 * (left + width)] for y in range(height))
        picture = bytearray(3 * width * height)
        bgrx = b"".join(rows)
        for channel in range(3):
            picture[channel::3] = bgrx[2 - channel::4]
        return Picture(width, height, bytes(picture))

    def rows(self):
        for y in range(self.height):
            yield self.dark[y * self.width:(y + 1) * self.width]

    def card(self):
        """The place of what is dark and wide: left, top, width, height. None without any."""
        top = height = 0
        wide = [row.count(1) > self.width / 4 for row in self.rows()] + [False]
        while True in wide[top + height:]:
            first = wide.index(True, top + height)
            rows = wide.index(False, first) - first
            if rows > LEAST:
                middle = list(self.rows())[first + rows // 2]
                left = middle.index(1)
                return left, first, middle.rindex(1) - left + 1, rows
            top, height = first, rows
        return None

    def first_row(self, card):
        """Pixels of the first row of a card that is there, or of what is in its place."""
        left, top, width, height = map(int, card)
        rows = range(top + height * 17 // 100, top + height * 26 // 100)
        starts = [3 * (y * self.width + left + width // 2 - LEAST) for y in rows]
        return b"".join(self.pixels[each:each + 6 * LEAST] for each in starts)

    def save(self, path):
        """As a PNG of half the size."""
        line = 3 * self.width
        rows = []
        for y in range(0, self.height - 1, 2):
            sums = [above + below for above, below in
                    zip(self.pixels[y * line:(y + 1) * line],
                        self.pixels[(y + 1) * line:(y + 2) * line])]
            row = bytearray(line // 6 * 3)
            for channel in range(3):
                row[channel::3] = [(first + second) // 4 for first, second in
                                   zip(sums[channel::6], sums[channel + 3::6])]
            rows.append(b"\0" + row)
        chunks = [(b"IHDR", struct.pack(">IIBBBBB", self.width // 2, len(rows), 8, 2, 0, 0, 0)),
                  (b"IDAT", zlib.compress(b"".join(rows), 9)), (b"IEND", b"")]
        path.write_bytes(b"\x89PNG\r\n\x1a\n" + b"".join(
            struct.pack(">I", len(data)) + kind + data +
            struct.pack(">I", zlib.crc32(kind + data)) for kind, data in chunks))
