-- Rows of the delimited golden tests.
-- `t`: numbers, a date, and texts that are NULL, empty, or hold the
-- delimiter or a quote mark; row 2 has a NULL right before a text that needs
-- quotes.
-- `u`: a UTF-8 text with multi-byte marks and an invalid byte sequence, the
-- same kinds of text in UTF-16 (little-endian), and Shift-JIS text whose
-- character 0x955C ends in the byte of a backslash.
CREATE TABLE t (id INTEGER, note TEXT, name TEXT, amount TEXT, day TEXT);
INSERT INTO t VALUES
    (1, 'x', 'plain', '12.50', '2001-02-03'),
    (-2, NULL, 'a|b', '-0.05', NULL),
    (3, 'y', 'say "hi"', NULL, '1999-12-31'),
    (4, '', '', '0', '2024-02-29');
CREATE TABLE u (u8 BLOB, u16 BLOB, sj BLOB, n INTEGER);
INSERT INTO u VALUES
    (CAST('é¦ü' AS BLOB), X'61007C006200', X'955C', 1),
    (CAST('a»b' AS BLOB), X'780022007900', X'615C62', -20),
    (X'C328FF', X'', X'63', 300);
