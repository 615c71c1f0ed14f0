-- Rows of the file-output golden tests. `code` and `word` make records of
-- 7 characters (CHAR(3) and CHAR(4)): a blank-padded word, a word ending in
-- a carriage return (so the file has CR LF), and UTF-8 letters. `u16` holds
-- the same kinds of text in UTF-16, little-endian, for CHAR(6).
CREATE TABLE t (code TEXT, word TEXT, u16 BLOB);
INSERT INTO t VALUES
    ('A01', 'one', X'6F006E006500'),
    ('B02', 'two' || char(13), X'6F006B000D00'),
    ('C03', 'Éé', X'C900E9002000');
