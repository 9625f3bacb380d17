-- 1,000 small tables, and a database without any.
create database many;
create database empty;
use many;

delimiter $$
begin not atomic
    for i in 1..1000 do
        execute immediate concat('create table t', lpad(i, 4, '0'),
            ' (id int not null primary key, memo varchar(40)) engine=MyISAM comment=''小さな表 ', i, '''');
    end for;
end$$
delimiter ;
