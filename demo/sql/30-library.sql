-- Names in Japanese, of database, tables, columns and keys alike.
create database 図書館;
use 図書館;

create table 書籍 (
    番号 int not null auto_increment primary key,
    題名 varchar(100) not null,
    著者 varchar(60) not null,
    出版年 year null,
    unique key 題名と著者 (題名, 著者),
    fulltext key 全文 (題名)
) engine=InnoDB comment='蔵書';
insert into 書籍 (題名, 著者, 出版年) values
    ('吾輩は猫である', '夏目漱石', 1905), ('羅生門', '芥川龍之介', 1915), ('源氏物語', '紫式部', null),
    ('銀河鉄道の夜', '宮沢賢治', 1934);

create table 貸出 (
    書籍番号 int not null,
    貸出日 date not null,
    返却日 date null,
    利用者 varchar(60) not null,
    primary key (書籍番号, 貸出日),
    constraint 貸出の書籍 foreign key (書籍番号) references 書籍 (番号)
) engine=InnoDB comment='貸出の記録';
insert into 貸出 values (1, '2026-10-01', '2026-10-14', '佐藤 花子'), (4, '2026-11-02', null, '鈴木 一郎');

create view 貸出中 as
    select b.題名 as 題名, l.利用者 as 利用者, l.貸出日 as 貸出日
    from 書籍 b join 貸出 l on l.書籍番号 = b.番号
    where l.返却日 is null;
