-- Every family of column type, with the values at its ends, NULL and empty.
create database types;
use types;
set sql_mode = '';

create table numbers (
    id int not null primary key, tiny tinyint, small smallint, medium mediumint, whole int, big bigint,
    big_unsigned bigint unsigned, zerofilled int(8) zerofill, exact decimal(30,10), single float, twofold double,
    flags bit(10), yes bool
) engine=InnoDB;
insert into numbers values
    (1, -128, -32768, -8388608, -2147483648, -9223372036854775808, 0, 42, -12345678901234567890.0123456789, -1.5e10,
        -1.7976931348623157e308, b'0000001001', true),
    (2, 127, 32767, 8388607, 2147483647, 9223372036854775807, 18446744073709551615, 99999999,
        12345678901234567890.0123456789, 0.1, 5e-324, b'1111111111', false),
    (3, null, null, null, null, null, null, null, null, null, null, null, null);

create table texts (
    id int not null primary key, fixed char(20), short varchar(200), tiny tinytext, body text, medium mediumtext,
    longest longtext, latin varchar(40) character set latin1, sjis varchar(40) character set cp932,
    choice enum('松', '竹', '梅'), choices set('赤', '青', '黄'), document json
) engine=InnoDB;
insert into texts values
    (1, '固定長', '可変長の文字列', 'ﾊﾝｶｸ', '一行目\n二行目\r\n三行目', 'タブ\tと "引用符" と \\', '長い文字列',
        'café', '表示・能力・ソ', '竹', '赤,黄', '{"名前": "花子", "点": [1, 2.5, null]}'),
    (2, '', '', '', '', '', '', '', '', null, '', '{}'),
    (3, null, null, null, null, null, null, null, null, null, null, null),
    (4, '😀', '𠮷野家で𩸽を焼く 👩‍👩‍👧', null, repeat('あいうえお', 2000), null, repeat('0123456789', 20000), null, '纊褜鍈',
        '松', '赤,青,黄', '[]');

create table moments (
    id int not null primary key, day date, time_of_day time(3), moment datetime(6),
    stamp timestamp null, calendar_year year
) engine=InnoDB;
insert into moments values
    (1, '2026-02-28', '-838:59:59', '1000-01-01 00:00:00.000001', '2001-02-03 04:05:06', 1901),
    (2, '0000-00-00', '12:34:56.789', '9999-12-31 23:59:59.999999', '2038-01-19 03:14:07', 2155),
    (3, null, null, null, null, null);

create table bytes (
    id int not null primary key, fixed binary(8), short varbinary(40), body blob, picture mediumblob,
    address inet6, place point
) engine=InnoDB;
insert into bytes values
    (1, x'0001020304050607', '文字も入る', x'ff00fe01', from_base64(
        'iVBORw0KGgoAAAANSUhEUgAAABAAAAAQCAIAAACQkWg2AAAAF0lEQVR4nGPQSPlPEmIY1TCqYfhqAABzNI4QTn75EQAAAABJRU5ErkJggg=='),
        '::1', point(139.69, 35.68)),
    (2, '', '', '', '', '2001:db8::1', point(0, 0)),
    (3, null, null, null, null, null, null);

create table generated (
    id int not null auto_increment primary key, width int not null, height int not null,
    area int as (width * height) virtual, label varchar(40) as (concat(width, '×', height)) persistent,
    unique key generated_label (label)
) engine=InnoDB;
insert into generated (width, height) values (3, 4), (210, 297);

create table keyless (word varchar(20), number int) engine=Aria comment='キーのない表';
insert into keyless values ('同じ行', 1), ('同じ行', 1), (null, null);
