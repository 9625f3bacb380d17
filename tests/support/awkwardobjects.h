#pragma once

// What every server knows, and everything whose order and surroundings matter.
inline const char *const objectsSetUp = R"(
    DROP DATABASE IF EXISTS d; CREATE DATABASE d CHARACTER SET utf8mb4; USE d; SET NAMES utf8mb4;
    SET sql_mode='NO_AUTO_VALUE_ON_ZERO,ALLOW_INVALID_DATES', time_zone='+00:00', foreign_key_checks=0;
    CREATE TABLE z(id INT AUTO_INCREMENT PRIMARY KEY, parent INT, v VARCHAR(50), b VARBINARY(20), bits BIT(10),
        f FLOAT, ts TIMESTAMP NULL, d DATE, e ENUM('p','q'), s VARCHAR(9) CHARACTER SET sjis, m DECIMAL(20,5),
        CONSTRAINT up FOREIGN KEY (parent) REFERENCES z(id));
    INSERT INTO z VALUES(0,7,'日本語😀 it''s \\ \n','\0\\',1023,16777217,'2020-10-25 00:30:00','0000-00-00','p','表ソ',-1.5),
        (7,NULL,'','',0,1.17549435e-38,NULL,'2020-02-30','q','',0),(8,0,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL);
    SET sql_mode=''; INSERT INTO z(id,e) VALUES(9,'x');
    CREATE TABLE `a``b c`(`k``1` INT PRIMARY KEY, t TEXT) ENGINE=MyISAM; INSERT INTO `a``b c` VALUES(1,'x'),(2,'y');
    CREATE VIEW a2 AS SELECT id FROM z; CREATE VIEW a1 AS SELECT x.id AS a3 FROM (a2 x JOIN z ON x.id=z.id);
    SET sql_mode='ANSI_QUOTES,PIPES_AS_CONCAT', time_zone='+09:00';
    DELIMITER //
    CREATE FUNCTION f(n INT) RETURNS VARCHAR(20) DETERMINISTIC RETURN "n" || ';'//
    CREATE PROCEDURE p() BEGIN SELECT '日本'; -- it's ;; not the end
        SELECT 2; END//
    CREATE TRIGGER tr BEFORE INSERT ON z FOR EACH ROW BEGIN SET NEW.v = CONCAT(NEW.v, '!'); END//
    CREATE EVENT ev ON SCHEDULE EVERY 1 DAY STARTS '2030-01-01 09:00:00' DISABLE DO DELETE FROM z WHERE id < 0//
    DELIMITER ;
    CREATE VIEW a0 AS SELECT f(a3) AS called FROM a1;
)";

// Everything that a server tells of the database but when it was made, and its rows exactly.
inline const char *const everything = R"(
    USE d; SET NAMES utf8mb4; SET time_zone='+00:00'; SHOW CREATE DATABASE d; SHOW FULL TABLES;
    SHOW CREATE TABLE z; SHOW CREATE TABLE `a``b c`; SHOW CREATE VIEW a0; SHOW CREATE VIEW a1; SHOW CREATE VIEW a2;
    SHOW CREATE FUNCTION f; SHOW CREATE PROCEDURE p; SHOW CREATE EVENT ev;
    SELECT TRIGGER_NAME, EVENT_MANIPULATION, EVENT_OBJECT_TABLE, ACTION_STATEMENT, ACTION_TIMING, SQL_MODE, DEFINER,
        CHARACTER_SET_CLIENT, COLLATION_CONNECTION FROM information_schema.TRIGGERS WHERE TRIGGER_SCHEMA='d';
    SELECT id, parent, HEX(v), HEX(b), bits+0, f*1e0, ts, d, e+0, HEX(s), m FROM z ORDER BY id;
    SELECT * FROM `a``b c`; SELECT * FROM a0;
)";

// What servers of all brands tell alike.
inline const char *const portable = R"(
    SET time_zone='+00:00'; SELECT id, parent, HEX(v), HEX(b), bits+0, f*1e0, ts, d, e+0, HEX(s), m FROM d.z ORDER BY id;
    SELECT * FROM d.a0; SELECT * FROM d.`a``b c`;
    SELECT ROUTINE_NAME FROM information_schema.ROUTINES WHERE ROUTINE_SCHEMA='d' ORDER BY 1;
    SELECT TRIGGER_NAME FROM information_schema.TRIGGERS WHERE TRIGGER_SCHEMA='d';
    SELECT EVENT_NAME, STARTS FROM information_schema.EVENTS WHERE EVENT_SCHEMA='d';
)";
