#!/usr/bin/env python3
"""Lists the keys and values of a hive: list_hive.py FILE [LIBRARY]"""
import ctypes
import sys

RECOVERED = 1


class KeyInfo(ctypes.Structure):
    _fields_ = [("position", ctypes.c_uint64), ("last_write", ctypes.c_uint64),
                ("flags", ctypes.c_uint32), ("values", ctypes.c_uint32)]


class ValueInfo(ctypes.Structure):
    _fields_ = [("position", ctypes.c_uint64), ("data_position", ctypes.c_uint64),
                ("type", ctypes.c_uint32), ("size", ctypes.c_uint32), ("readable", ctypes.c_int)]


def load(name):
    library = ctypes.CDLL(name)
    hive, key, size = ctypes.c_void_p, ctypes.c_uint32, ctypes.c_size_t
    library.hq_open.argtypes = [ctypes.c_char_p, ctypes.c_int, ctypes.POINTER(hive)]
    library.hq_close.argtypes = [hive]
    library.hq_key_count.argtypes = [hive]
    library.hq_key_info_of.argtypes = [hive, key, ctypes.POINTER(KeyInfo)]
    library.hq_value_info_of.argtypes = [hive, key, ctypes.c_uint32, ctypes.POINTER(ValueInfo)]
    for name, places in ("hq_notices", []), ("hq_key_path", [key]), \
            ("hq_value_name", [key, ctypes.c_uint32]), ("hq_value_data", [key, ctypes.c_uint32]):
        function = getattr(library, name)
        function.argtypes = [hive] + places + [ctypes.c_char_p, size]
        function.restype = size
    return library


def text(function, *of):
    """A lone surrogate, which the library keeps, is one in Python's text too."""
    length = function(*of, None, 0)
    out = ctypes.create_string_buffer(length + 1)
    function(*of, out, length + 1)
    return out.raw[:length].decode("utf-8", "surrogatepass")


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    library = load(sys.argv[2] if len(sys.argv) > 2 else "libhivequarry.so.1")
    hive = ctypes.c_void_p()
    status = library.hq_open(sys.argv[1].encode(), 0, ctypes.byref(hive))
    if status != 0:
        sys.exit(f"{sys.argv[1]} can't be opened ({status})")
    sys.stderr.write(text(library.hq_notices, hive))
    key, value = KeyInfo(), ValueInfo()
    for number in range(library.hq_key_count(hive)):
        library.hq_key_info_of(hive, number, ctypes.byref(key))
        recovered = "  [recovered]" if key.flags & RECOVERED else ""
        print(ascii(text(library.hq_key_path, hive, number))[1:-1] + recovered)
        for i in range(key.values):
            library.hq_value_info_of(hive, number, i, ctypes.byref(value))
            name = text(library.hq_value_name, hive, number, i) or "(default)"
            print(f"    {ascii(name)[1:-1]}: type {value.type}, {value.size} bytes"
                  + ("" if value.readable else ", lost"))
    library.hq_close(hive)


if __name__ == "__main__":
    main()
