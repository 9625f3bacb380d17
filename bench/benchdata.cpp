#include "benchdata.h"

void makeBenchTable(TestServer &server, int rowCount)
{
    server.run(QStringLiteral(
                   "create database bench; use bench;"
                   "create table bench.rows_of_text (id int not null, name varchar(60), place varchar(80), "
                   "price decimal(12,2), made datetime, ratio double, note text, stock int) engine=myisam;"
                   "insert into bench.rows_of_text select seq, concat('商品 ', seq, ' 号'), "
                   "concat('東京都千代田区丸の内', seq % 97, '丁目'), seq * 1.25, "
                   "'2001-01-01' + interval seq minute, seq / 7e0, concat('A note of some length on ', seq, "
                   "' for the reader'), if(seq % 3 = 0, null, seq % 1000) from seq_1_to_%1;")
                   .arg(rowCount));
}
