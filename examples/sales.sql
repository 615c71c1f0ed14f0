-- The quick start's example database: a small sales table with NULLs,
-- negative amounts and texts holding delimiter and quote characters.
CREATE TABLE sales (
    id INTEGER PRIMARY KEY,
    customer TEXT,
    amount TEXT,
    sold_on TEXT
);
INSERT INTO sales VALUES
    (1, 'Ada Lovelace', '1234.50', '2024-01-15'),
    (2, 'Brown & Sons', '-12.00', '2024-01-16'),
    (3, NULL, '0.00', '2024-02-01'),
    (4, 'Pipe | Works', '99999.99', '2024-02-29'),
    (5, 'The "Quoted" Shop', '7.25', '2024-03-03'),
    (6, 'Comma, Inc.', '150.10', '2024-03-31'),
    (7, 'Zeta', '-0.01', '2024-04-01'),
    (8, 'Émile Café', '42.00', '2024-05-05'),
    (9, '', '1.00', '2024-06-30'),
    (10, 'Last Customer', '9999999999.99', '2024-12-31');
