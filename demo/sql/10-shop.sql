-- A small shop: foreign keys, triggers, InnoDB beside MyISAM, a table of 100,000 rows.
create database shop;
use shop;

create table categories (
    id int unsigned not null auto_increment primary key,
    parent_id int unsigned null,
    name varchar(60) not null comment '分類名',
    constraint categories_parent foreign key (parent_id) references categories (id) on delete set null
) engine=InnoDB comment='商品の分類';
insert into categories values (1, null, '食品'), (2, 1, 'お茶'), (3, 1, '和菓子'), (4, null, '文房具'), (5, 4, '筆・墨');

create table customers (
    id int unsigned not null auto_increment primary key,
    name varchar(60) not null comment '氏名',
    kana varchar(60) not null comment 'ﾌﾘｶﾞﾅ',
    mail varchar(120) null,
    prefecture varchar(10) not null default '東京都',
    birthday date null,
    points int not null default 0,
    created_at datetime not null default current_timestamp,
    unique key customers_mail (mail),
    key customers_place (prefecture, kana)
) engine=InnoDB comment='顧客';
insert into customers (name, kana, mail, prefecture, birthday, points) values
    ('佐藤 花子', 'ｻﾄｳ ﾊﾅｺ', 'hanako@example.jp', '北海道', '1985-04-12', 120),
    ('鈴木 一郎', 'ｽｽﾞｷ ｲﾁﾛｳ', 'ichiro@example.jp', '愛知県', '1973-10-22', 0),
    ('髙橋 真澄', 'ﾀｶﾊｼ ﾏｽﾐ', 'masumi@example.jp', '東京都', null, 45),
    ('山﨑 龍之介', 'ﾔﾏｻﾞｷ ﾘｭｳﾉｽｹ', null, '福岡県', '1999-01-03', 7),
    ('渡邉 ㈱みどり商会', 'ﾜﾀﾅﾍﾞ', 'midori@example.jp', '京都府', null, 980),
    ('𠮷田 小夜', 'ﾖｼﾀﾞ ｻﾖ', 'sayo@example.jp', '大阪府', '1968-07-30', 31);

create table products (
    code char(8) not null primary key,
    category_id int unsigned not null,
    name varchar(80) not null,
    price decimal(10,2) not null,
    stock int not null default 0,
    description text null,
    price_with_tax decimal(12,2) as (price * 1.08) persistent,
    constraint products_category foreign key (category_id) references categories (id)
) engine=InnoDB comment='商品';
insert into products (code, category_id, name, price, stock, description) values
    ('TEA-0001', 2, '玉露 100g', 1800, 40, '八女の玉露です。\nぬるめのお湯でどうぞ。'),
    ('TEA-0002', 2, '焙じ茶 200g', 640, 120, '香ばしい「焙じ茶」。'),
    ('SWE-0001', 3, '羊羹', 1200, 15, null),
    ('SWE-0002', 3, '金平糖', 380.5, 0, '十色の砂糖菓子✨'),
    ('INK-0001', 5, '奈良の墨', 2500, 8, ''),
    ('BRU-0001', 5, '筆 ''小''', 950, 60, 'C:\\temp に似た文字も、そのまま残ります。');

-- Its name is a reserved word.
create table `order` (
    id int unsigned not null auto_increment primary key,
    customer_id int unsigned not null,
    ordered_at datetime(6) not null default current_timestamp(6),
    state enum('受付', '発送', '完了', '取消') not null default '受付',
    constraint order_customer foreign key (customer_id) references customers (id)
) engine=InnoDB comment='注文';

create table order_items (
    order_id int unsigned not null,
    line smallint unsigned not null,
    product_code char(8) not null,
    quantity int not null,
    primary key (order_id, line),
    key order_items_product (product_code),
    constraint order_items_order foreign key (order_id) references `order` (id) on delete cascade,
    constraint order_items_product foreign key (product_code) references products (code)
) engine=InnoDB comment='注文明細';

create table stock_log (
    id int unsigned not null auto_increment primary key,
    product_code char(8) not null,
    old_stock int not null,
    new_stock int not null,
    logged_at timestamp not null default current_timestamp
) engine=MyISAM comment='在庫の記録';

delimiter $$
create trigger order_items_take after insert on order_items for each row
begin
    -- 在庫を減らす
    update products set stock = stock - new.quantity where code = new.product_code;
end$$
create trigger products_log after update on products for each row
begin
    if old.stock <> new.stock then
        insert into stock_log (product_code, old_stock, new_stock) values (new.code, old.stock, new.stock);
    end if;
end$$
delimiter ;

insert into `order` (customer_id, state) values (1, '完了'), (1, '発送'), (3, '受付'), (5, '取消');
insert into order_items values (1, 1, 'TEA-0001', 2), (1, 2, 'SWE-0001', 1), (2, 1, 'BRU-0001', 3),
    (3, 1, 'TEA-0002', 1), (3, 2, 'SWE-0001', 2), (4, 1, 'INK-0001', 1);

create table reviews (
    id int unsigned not null auto_increment primary key,
    product_code char(8) not null,
    stars tinyint unsigned not null,
    body text not null,
    fulltext key reviews_body (body)
) engine=MyISAM comment='感想';
insert into reviews (product_code, stars, body) values
    ('TEA-0001', 5, 'とても香り高いお茶でした。 excellent green tea'),
    ('SWE-0001', 4, '甘さ控えめで美味しいです。 not too sweet'),
    ('BRU-0001', 2, '毛先が少し硬いかも知れません。');

create table access_log (
    id int unsigned not null auto_increment primary key,
    accessed_at datetime not null,
    customer_id int unsigned null,
    page varchar(80) not null,
    agent varchar(60) not null,
    milliseconds double not null,
    bytes bigint unsigned not null,
    key access_log_time (accessed_at),
    key access_log_customer (customer_id, accessed_at)
) engine=InnoDB comment='アクセス記録（10万件）';
insert into access_log
    select seq, '2026-01-01' + interval seq * 97 second, nullif(seq % 7, 0),
        concat('/商品/', elt(1 + seq % 6, 'TEA-0001', 'TEA-0002', 'SWE-0001', 'SWE-0002', 'INK-0001', 'BRU-0001')),
        elt(1 + seq % 3, 'ブラウザ', 'スマートフォン', 'ロボット'), seq % 1999 / 7, seq * 7919 % 1000003
    from seq_1_to_100000;

-- A name with a blank, which a statement that does not quote it cannot reach.
create table `old customers` (id int not null primary key, name varchar(60)) engine=MyISAM;
insert into `old customers` values (1, '昔のお客様');
