use shop;

create view customer_totals as
    select c.id as id, c.name as name, count(distinct o.id) as orders, sum(i.quantity * p.price) as total
    from customers c
        join `order` o on o.customer_id = c.id
        join order_items i on i.order_id = o.id
        join products p on p.code = i.product_code
    where o.state <> '取消'
    group by c.id, c.name;

create view cheap_products as
    select code, name, price from products where price < 1000 and stock > 0 or name = '羊羹';

-- The table below it goes, the view stays.
create table campaign (code char(8) not null primary key, rate int not null);
create view campaign_prices as
    select p.code as code, p.price * (100 - c.rate) / 100 as price from products p join campaign c on c.code = p.code;
drop table campaign;
