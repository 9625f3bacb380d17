#pragma once

// Every kind of value that a file between two statements could change, and the words that read it exactly.
inline const char *const valuesSetUp = R"(
    DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d; SET NAMES utf8mb4; SET time_zone='+00:00';
    SET sql_mode='NO_AUTO_VALUE_ON_ZERO';
    CREATE TABLE texts(id INT PRIMARY KEY, v VARCHAR(50), c CHAR(5) NOT NULL, s VARCHAR(20) CHARACTER SET sjis,
        u VARCHAR(20) CHARACTER SET utf16, l VARCHAR(20) CHARACTER SET latin1, t LONGTEXT, j JSON,
        e ENUM('a','','1'), x SET('p','q'));
    INSERT INTO texts VALUES(1,'日本語😀 ','x','表ソ能','十','é','a\tb\nc\\d\0e\r\n','{"表":1}','','p,q'),
        (2,NULL,'',NULL,NULL,NULL,NULL,NULL,NULL,NULL),(3,'NULL','\\N','','','','\\N','[]','1','');
    CREATE TABLE bytes(id INT PRIMARY KEY, b BINARY(4), v VARBINARY(300), l BLOB, b1 BIT(1), b8 BIT(8), b64 BIT(64),
        g GEOMETRY, i INET6, w UUID);
    INSERT INTO bytes VALUES(1,'\\\t\n\0',UNHEX('00FF5C090A27E381E3'),UNHEX('5C4E'),b'1',9,18446744073709551615,
        ST_GeomFromText('POINT(1 2)',4326),'2001:db8::ff00:1','123e4567-e89b-12d3-a456-426655440000'),
        (2,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL),(3,'','','',b'0',92,10,ST_GeomFromText('POINT(0 0)'),'::',NULL);
    CREATE TABLE numbers(n INT AUTO_INCREMENT PRIMARY KEY, f FLOAT, g FLOAT(7,2), h DOUBLE, m DECIMAL(30,10), z INT(8) ZEROFILL,
        d DATE, dt DATETIME(6), t TIME(6), y YEAR, ts TIMESTAMP NULL);
    INSERT INTO numbers VALUES(0,16777217,3.14159,0.1,-123456789012345678.0123456789,42,'0000-00-00',
        '9999-12-31 23:59:59.999999','-838:59:59',0,'2020-10-25 00:30:00'),
        (5,1.17549435e-38,99999.99,1.7976931348623157e308,0,0,'2020-02-00','0000-00-00','00:00:00.000001',2155,'2020-10-25 01:30:00'),
        (7,NULL,NULL,-0e0,NULL,NULL,NULL,NULL,NULL,NULL,NULL),
        (8,3.4028234663852886e38,0.1,5e-324,NULL,NULL,NULL,NULL,NULL,NULL,NULL),(9,1.401298464324817e-45,0,0,NULL,NULL,NULL,NULL,NULL,NULL,NULL);
    CREATE TABLE made(a INT, b INT AS (a+1) VIRTUAL, c INT AS (a*2) STORED, `select` INT DEFAULT (1+1), h INT INVISIBLE DEFAULT 3);
    INSERT INTO made(a,`select`,h) VALUES(1,10,20),(2,NULL,NULL);
    CREATE TABLE nothing(a INT COMMENT 'it''s; -- x', b INT, CHECK (a > b)) AUTO_INCREMENT=7 COMMENT='/* y' ROW_FORMAT=COMPACT
        PARTITION BY RANGE (a) SUBPARTITION BY HASH (b) SUBPARTITIONS 2 (PARTITION p VALUES LESS THAN (5), PARTITION q VALUES LESS THAN MAXVALUE);
    CREATE VIEW seen AS SELECT id, v FROM texts WHERE id > 1;
    CREATE VIEW again AS SELECT id AS `seen` FROM seen;
)";
inline const char *const valuesRead = R"(
    SET time_zone='+00:00';
    SELECT id,HEX(v),HEX(c),HEX(s),HEX(u),HEX(l),HEX(t),HEX(j),e+0,x+0 FROM d.texts ORDER BY 1;
    SELECT id,HEX(b),HEX(v),HEX(l),HEX(b1),HEX(b8),HEX(b64),HEX(g),ST_SRID(g),HEX(i),w FROM d.bytes ORDER BY 1;
    SELECT n,f*1e0,g*1e0,h,m,z,d,dt,t,y,ts FROM d.numbers ORDER BY 1;
    SELECT a,b,c,`select`,h FROM d.made ORDER BY 1;
    SELECT COUNT(*) FROM d.nothing;
    SELECT id,HEX(v) FROM d.seen ORDER BY 1; SELECT * FROM d.again ORDER BY 1;
    SHOW CREATE TABLE d.texts; SHOW CREATE TABLE d.bytes; SHOW CREATE TABLE d.numbers; SHOW CREATE TABLE d.made;
    SHOW CREATE TABLE d.nothing; SHOW CREATE TABLE d.seen; SHOW CREATE TABLE d.again;
    SHOW TABLES FROM d;
)";
