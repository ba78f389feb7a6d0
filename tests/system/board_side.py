"""What the window's tests put into files and expect on the wire, put together without the program."""


def hex_file(data):
    lines = []
    for address in range(0, len(data), 16):
        part = data[address:address + 16]
        record = bytes([len(part), address >> 8, address & 0xFF, 0]) + part
        lines.append(":" + record.hex().upper() + f"{-sum(record) & 0xFF:02X}")
    return "\r\n".join(lines + [":00000001FF", ""])


def program_wire(flash, eeprom):
    """What Program must send, put together from the protocol's description."""
    wire = b"\x1b??AT\x38\x1b" + b"APsL" + b"APeL" + b"APsL" + b"APa\0\0"
    for i in range(0, len(flash), 2):
        wire += b"c" + flash[i:i + 1] + b"C" + flash[i + 1:i + 2]
    wire += b"L" + b"AP"
    for address, value in enumerate(eeprom):
        if value != 0xFF:
            wire += b"a" + bytes([address >> 8, address & 0xFF]) + b"D" + bytes([value])
    wire += b"L" + b"APa\0\0" + b"R" * (len(flash) // 2) + b"L" + b"AP"
    for address in range(len(eeprom)):
        wire += b"a" + bytes([address >> 8, address & 0xFF]) + b"d"
    return wire + b"L"
