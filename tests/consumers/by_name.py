#!/usr/bin/env python3
"""Calls the library from Python: by_name.py LIBRARY"""

import ctypes
import sys


def main():
    library = ctypes.CDLL(sys.argv[1])
    doubles = ctypes.c_double * 3
    reported = []

    class Report(ctypes.Structure):
        _fields_ = [("code", ctypes.c_int32), ("index", ctypes.c_int32), ("arguments", ctypes.c_double * 2),
                    ("results", ctypes.c_double * 2), ("name", ctypes.c_char * 64)]

    callback_type = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.POINTER(Report))

    @callback_type
    def callback(report):
        reported.append((report.contents.name, report.contents.index, report.contents.code))
        report.contents.results[0] = -1
        return 0

    library._fynSetErrorCallBack.restype = ctypes.c_void_p
    library._fynSetErrorCallBack(callback)
    a, r = doubles(1, 0, 1), doubles()
    library._fyndLn(3, a, r)
    assert list(r) == [0, -1, 0] and reported == [(b"vdLn", 1, 2)], (list(r), reported)

    stream, seed, words = ctypes.c_void_p(), ctypes.c_uint32(1), (ctypes.c_uint32 * 2)()
    assert library.__bexNewStreamEx(ctypes.byref(stream), 0x100000, 1, ctypes.byref(seed)) == 0
    assert library._bexiRngUniformBits(0, stream, 2, words) == 0
    assert list(words) == [1, 1132489760], list(words)
    assert library.__bexDeleteStream(ctypes.byref(stream)) == 0


if __name__ == "__main__":
    main()
