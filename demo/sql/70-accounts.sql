-- Accounts to look at: each with privileges on another level. They are locked, nobody can log in with them.
create user suzuki@localhost account lock;
grant select, insert, update, delete, show databases, process on *.* to suzuki@localhost;

create user tanaka@'%' account lock;
grant select, insert, update, delete, create view, show view, execute on shop.* to tanaka@'%';
grant select on 図書館.* to tanaka@'%' with grant option;

create user sato@'192.168.1.%' account lock;
grant select, update on shop.customers to sato@'192.168.1.%';
grant select (name, price) on shop.products to sato@'192.168.1.%';
grant execute on function shop.with_tax to sato@'192.168.1.%';

create user 渡辺@localhost account lock;
grant all privileges on 図書館.* to 渡辺@localhost;
