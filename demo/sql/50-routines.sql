use shop;
delimiter $$

create procedure add_points(in customer int unsigned, in more int, out total int)
    comment 'ポイントを加える'
begin
    -- マイナスにはしない
    update customers set points = greatest(0, points + more) where id = customer;
    select points into total from customers where id = customer;
end$$

create procedure monthly_access(in first_day date)
    reads sql data
begin
    /* 月ごとの集計：
       ページ別の件数と平均時間 */
    select page as ページ, count(*) as 件数, round(avg(milliseconds), 1) as 平均ミリ秒
    from access_log
    where accessed_at >= first_day and accessed_at < first_day + interval 1 month
    group by page
    order by 件数 desc;
end$$

create procedure hello()
    select 'こんにちは'$$

create function with_tax(price decimal(10,2), rate int) returns decimal(12,2)
    deterministic
    comment '税込み価格'
begin
    -- 端数は切り捨て
    return truncate(price * (100 + rate) / 100, 0);
end$$

create function age(birthday date) returns int
    return timestampdiff(year, birthday, curdate())$$

delimiter ;
