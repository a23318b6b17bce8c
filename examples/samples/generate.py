#!/usr/bin/env python3
"""Writes the sample messages beside this script, one Japanese text in several encodings.

The text is our own. Run it again after editing the text; the files are checked in so the
demo and the tool's tests do not need Python.
"""
import pathlib

HERE = pathlib.Path(__file__).resolve().parent

MESSAGE = """\
件名: 来週の打ち合わせについて

山田さん

お疲れさまです。来週の打ち合わせは、木曜日の午後二時から
三階の会議室で行います。資料は前日までにお送りします。
ｶﾀｶﾅの表記ゆれにもご注意ください。

よろしくお願いいたします。
鈴木
"""


def crlf(text):
    return text.replace("\n", "\r\n")


def write(name, data):
    (HERE / name).write_bytes(data)


write("utf-8.txt", crlf(MESSAGE).encode("utf-8"))
write("shift_jis.txt", crlf(MESSAGE).encode("shift_jis"))
write("euc-jp.txt", crlf(MESSAGE).encode("euc_jp"))
# ISO-2022-JP has no half-width katakana; mail software sends the full-width forms.
write("iso-2022-jp.txt", crlf(MESSAGE.replace("ｶﾀｶﾅ", "カタカナ")).encode("iso2022_jp"))

# UTF-8 damaged the way mail gets damaged: a character cut short (only the first byte of 議
# is left), and a stray Latin-1 byte from a wrongly labelled part.
good = crlf(MESSAGE).encode("utf-8")
cut = good.index("議".encode("utf-8")) + 1
broken = good[:cut] + good[cut + 2:]
broken = broken.replace("鈴木".encode("utf-8"), "鈴木".encode("utf-8") + b" caf\xe9")
write("broken-utf-8.txt", broken)

# Shift_JIS with a character cut in half at a line end (its trail byte lost), and a byte that
# is not Shift_JIS at all.
sjis = crlf(MESSAGE).encode("shift_jis")
cut = sjis.index("から\r\n".encode("shift_jis")) + 3
sjis = sjis[:cut] + sjis[cut + 1:]
sjis = sjis.replace("鈴木".encode("shift_jis"), "鈴木".encode("shift_jis") + b" \xfd")
write("broken-shift_jis.txt", sjis)

# A message as it arrives from a mix of mail software: headers ended by CR LF, a text part by
# LF, a note by lone CRs, and the damaged Shift_JIS text above as a base64 part in lines of 76.
# The extension keeps it out of the demo's mailbox of .txt messages.
import base64

encoded = base64.b64encode(sjis)
part = b"\r\n".join(encoded[i:i + 76] for i in range(0, len(encoded), 76))
mixed = (
    b"From: suzuki@example.jp\r\n"
    b"Subject: meeting notes\r\n"
    b"MIME-Version: 1.0\r\n"
    b"Content-Type: multipart/mixed; boundary=\"b1\"\r\n"
    b"\r\n"
    b"--b1\n"
    b"Content-Type: text/plain; charset=us-ascii\n"
    b"\n"
    b"The notes are attached.\n"
    b"Written on an old system:\rits lines end in CR.\r"
    b"--b1\r\n"
    b"Content-Type: text/plain; charset=shift_jis\r\n"
    b"Content-Transfer-Encoding: base64\r\n"
    b"\r\n" + part + b"\r\n"
    b"--b1--\r\n"
)
write("mixed-newlines.eml", mixed)
