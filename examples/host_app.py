#!/usr/bin/python3
"""A host app's use of libvelmora-appgroup from Python, through ctypes: writes the three records
the widgets read, shows how a record they would not decode is refused, and asks the running
widget host to reload.

    host_app.py [STORE_DIR]

The library is loaded as libvelmora-appgroup.so.0, or from $VELMORA_APPGROUP_LIBRARY.
"""
import ctypes
import json
import os
import sys

OK, NOT_FOUND, NONE_RUNNING, INVALID_RECORD = 0, 1, 2, 3

lib = ctypes.CDLL(os.environ.get("VELMORA_APPGROUP_LIBRARY", "libvelmora-appgroup.so.0"))
Error = ctypes.c_void_p
lib.velmora_appgroup_error_message.restype = ctypes.c_char_p
lib.velmora_appgroup_error_message.argtypes = [Error]
lib.velmora_appgroup_error_free.argtypes = [Error]
lib.velmora_appgroup_store_open.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p),
                                            ctypes.POINTER(Error)]
lib.velmora_appgroup_store_close.argtypes = [ctypes.c_void_p]
lib.velmora_appgroup_write_record.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p,
                                              ctypes.c_size_t, ctypes.POINTER(Error)]
lib.velmora_appgroup_reload.argtypes = [ctypes.c_char_p, ctypes.POINTER(Error)]


class AppGroupError(Exception):
    def __init__(self, status, message):
        super().__init__(message)
        self.status = status


def call(function, *arguments):
    """Runs a library call that ends with an error out-parameter; a failure raises."""
    error = Error()
    status = function(*arguments, ctypes.byref(error))
    if status != OK:
        message = lib.velmora_appgroup_error_message(error).decode()
        lib.velmora_appgroup_error_free(error)
        raise AppGroupError(status, message)


records = {
    "vmDailyBrief": {"ticker": "NVDA", "companyName": "NVIDIA",
                     "summary": "Momentum continues with options flow signalling continuation "
                                "through earnings.",
                     "signal": "Strong Buy", "score": 84, "generatedAt": "2025-11-16T06:30:00Z"},
    "vmWatchlistTickers": [
        {"ticker": "AAPL", "companyName": "Apple Inc.", "price": 187.32, "changePct": 0.84,
         "signal": "Buy", "score": 72},
        {"ticker": "INTC", "price": 24.1, "changePct": -1.3, "signal": "Sell"}],
    "vmPortfolioSnapshot": {"totalValue": 25400.5, "totalPnl": 1200, "totalReturn": 4.9,
                            "dailyChange": -80, "dailyChangePct": -0.31, "holdingCount": 3,
                            "sourceLabel": "Broker", "updatedAt": "2025-11-10T09:30:00Z"},
}

store = ctypes.c_void_p()
directory = sys.argv[1].encode() if len(sys.argv) > 1 else None
call(lib.velmora_appgroup_store_open, directory, ctypes.byref(store))
try:
    for key, record in records.items():
        data = json.dumps(record, separators=(",", ":")).encode()
        call(lib.velmora_appgroup_write_record, store, key.encode(), data, len(data))
        print(f"wrote {key}")
    # A score as text is no brief the widgets would show: refused, the stored one kept.
    bad = json.dumps(dict(records["vmDailyBrief"], score="84")).encode()
    try:
        call(lib.velmora_appgroup_write_record, store, b"vmDailyBrief", bad, len(bad))
        sys.exit("a brief with a text score was written")
    except AppGroupError as refused:
        assert refused.status == INVALID_RECORD, refused.status
        print(f"refused: {refused}")
finally:
    lib.velmora_appgroup_store_close(store)

try:
    call(lib.velmora_appgroup_reload, None)
    print("reload: taken")
except AppGroupError as failure:
    if failure.status != NONE_RUNNING:
        raise
    print(f"reload: none running ({failure})")
