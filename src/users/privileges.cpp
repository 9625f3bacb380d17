#include "users/privileges.h"

#include "core/sql/statements.h"

#include <QList>

#include <algorithm>
#include <array>

namespace {

constexpr std::array<Privilege, 26> global{{
    {u"SELECT", u"Select_priv", u"SELECT,", u"全てのﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙからﾃﾞｰﾀを読み出せます。"},
    {u"INSERT", u"Insert_priv", u"INSERT,", u"全てのﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙに行を追加できます。"},
    {u"UPDATE", u"Update_priv", u"UPDATE,", u"全てのﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙの行を書き換えられます。"},
    {u"DELETE", u"Delete_priv", u"DELETE,", u"全てのﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙから行を削除できます。"},
    {u"CREATE", u"Create_priv", u"CREATE,", u"ﾃﾞｰﾀﾍﾞｰｽやﾃｰﾌﾞﾙを作成できます。"},
    {u"DROP", u"Drop_priv", u"DROP,", u"ﾃﾞｰﾀﾍﾞｰｽ・ﾃｰﾌﾞﾙ・ﾋﾞｭｰを削除できます。"},
    {u"RELOAD", u"Reload_priv", u"RELOAD,", u"権限・ﾛｸﾞ・ｷｬｯｼｭの再読み込み(FLUSH)を実行できます。"},
    {u"SHUTDOWN", u"Shutdown_priv", u"SHUTDOWN,", u"ｻｰﾊﾞｰを停止できます。"},
    {u"PROCESS", u"Process_priv", u"PROCESS,", u"他のﾕｰｻﾞｰが実行中の処理を一覧で見られます。"},
    {u"FILE", u"File_priv", u"FILE,", u"ｻｰﾊﾞｰ上のﾌｧｲﾙへの出力とﾌｧｲﾙからの読み込みができます。"},
    {u"GRANT", u"Grant_priv", u"", u"自分の持つ権限を他のﾕｰｻﾞｰに与えられます。"},
    {u"REFERENCES", u"References_priv", u"REFERENCES,", u"外部ｷｰを作成できます。"},
    {u"INDEX", u"Index_priv", u"INDEX,", u"ｲﾝﾃﾞｯｸｽの作成と削除ができます。"},
    {u"ALTER", u"Alter_priv", u"ALTER,", u"ﾃｰﾌﾞﾙの構造を変更できます。"},
    {u"SHOW_DB", u"Show_db_priv", u"SHOW DATABASES,", u"全てのﾃﾞｰﾀﾍﾞｰｽの名前を一覧で見られます。"},
    {u"SUPER", u"Super_priv", u"SUPER,", u"ｻｰﾊﾞｰ設定の変更や他の接続の切断など、管理用の操作ができます。"},
    {u"CREATE TMP", u"Create_tmp_table_priv", u"CREATE TEMPORARY TABLES,", u"一時ﾃｰﾌﾞﾙを作成できます。"},
    {u"LOCK TABLES", u"Lock_tables_priv", u"LOCK TABLES,", u"読み出せるﾃｰﾌﾞﾙをﾛｯｸできます。"},
    {u"EXECUTE", u"Execute_priv", u"EXECUTE,", u"ﾌﾟﾛｼｰｼﾞｬとﾌｧﾝｸｼｮﾝを実行できます。"},
    {u"REPL SLAVE", u"Repl_slave_priv", u"REPLICATION SLAVE,", u"複製先ｻｰﾊﾞｰとして更新履歴を受け取れます。"},
    {u"REPL CLIENT", u"Repl_client_priv", u"REPLICATION CLIENT,", u"複製元と複製先の状態を調べられます。"},
    {u"CREATE VIEW", u"Create_view_priv", u"CREATE VIEW,", u"ﾋﾞｭｰを作成できます。"},
    {u"SHOW VIEW", u"Show_view_priv", u"SHOW VIEW,", u"ﾋﾞｭｰの定義を見られます。"},
    {u"CREATE ROUTINE", u"Create_routine_priv", u"CREATE ROUTINE,", u"ﾌﾟﾛｼｰｼﾞｬとﾌｧﾝｸｼｮﾝを作成できます。"},
    {u"ALTER ROUTINE", u"Alter_routine_priv", u"ALTER ROUTINE,",
     u"ﾌﾟﾛｼｰｼﾞｬとﾌｧﾝｸｼｮﾝの変更と削除ができます。"},
    {u"CREATE USER", u"Create_user_priv", u"CREATE USER,", u"ﾕｰｻﾞｰの作成・削除・名前の変更ができます。"},
}};

constexpr std::array<Privilege, 17> database{{
    {u"SELECT", u"Select_priv", u"SELECT,", u"このﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙからﾃﾞｰﾀを読み出せます。"},
    {u"INSERT", u"Insert_priv", u"INSERT,", u"このﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙに行を追加できます。"},
    {u"UPDATE", u"Update_priv", u"UPDATE,", u"このﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙの行を書き換えられます。"},
    {u"DELETE", u"Delete_priv", u"DELETE,", u"このﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙから行を削除できます。"},
    {u"CREATE", u"Create_priv", u"CREATE,", u"このﾃﾞｰﾀﾍﾞｰｽとその中のﾃｰﾌﾞﾙを作成できます。"},
    {u"DROP", u"Drop_priv", u"DROP,", u"このﾃﾞｰﾀﾍﾞｰｽとその中のﾃｰﾌﾞﾙ・ﾋﾞｭｰを削除できます。"},
    {u"GRANT", u"Grant_priv", u"GRANT OPTION,", u"このﾃﾞｰﾀﾍﾞｰｽで自分の持つ権限を他のﾕｰｻﾞｰに与えられます。"},
    {u"REFERENCES", u"References_priv", u"REFERENCES,", u"このﾃﾞｰﾀﾍﾞｰｽで外部ｷｰを作成できます。"},
    {u"INDEX", u"Index_priv", u"INDEX,", u"このﾃﾞｰﾀﾍﾞｰｽでｲﾝﾃﾞｯｸｽの作成と削除ができます。"},
    {u"ALTER", u"Alter_priv", u"ALTER,", u"このﾃﾞｰﾀﾍﾞｰｽのﾃｰﾌﾞﾙの構造を変更できます。"},
    {u"CREATE TMP", u"Create_tmp_table_priv", u"CREATE TEMPORARY TABLES,",
     u"このﾃﾞｰﾀﾍﾞｰｽで一時ﾃｰﾌﾞﾙを作成できます。"},
    {u"LOCK TABLES", u"Lock_tables_priv", u"LOCK TABLES,", u"このﾃﾞｰﾀﾍﾞｰｽの読み出せるﾃｰﾌﾞﾙをﾛｯｸできます。"},
    {u"CREATE VIEW", u"Create_view_priv", u"CREATE VIEW,", u"このﾃﾞｰﾀﾍﾞｰｽでﾋﾞｭｰを作成できます。"},
    {u"SHOW VIEW", u"Show_view_priv", u"SHOW VIEW,", u"このﾃﾞｰﾀﾍﾞｰｽのﾋﾞｭｰの定義を見られます。"},
    {u"CREATE ROUTINE", u"Create_routine_priv", u"CREATE ROUTINE,",
     u"このﾃﾞｰﾀﾍﾞｰｽでﾌﾟﾛｼｰｼﾞｬとﾌｧﾝｸｼｮﾝを作成できます。"},
    {u"ALTER ROUTINE", u"Alter_routine_priv", u"ALTER ROUTINE,",
     u"このﾃﾞｰﾀﾍﾞｰｽのﾌﾟﾛｼｰｼﾞｬとﾌｧﾝｸｼｮﾝの変更と削除ができます。"},
    {u"EXECUTE", u"Execute_priv", u"EXECUTE,", u"このﾃﾞｰﾀﾍﾞｰｽのﾌﾟﾛｼｰｼﾞｬとﾌｧﾝｸｼｮﾝを実行できます。"},
}};

constexpr std::array<Privilege, 4> table{{
    {u"SELECT", u"Select", u"SELECT,", u"このﾃｰﾌﾞﾙからﾃﾞｰﾀを読み出せます。"},
    {u"INSERT", u"Insert", u"INSERT,", u"このﾃｰﾌﾞﾙに行を追加できます。"},
    {u"UPDATE", u"Update", u"UPDATE,", u"このﾃｰﾌﾞﾙの行を書き換えられます。"},
    {u"DELETE", u"Delete", u"DELETE,", u"このﾃｰﾌﾞﾙから行を削除できます。"},
}};

QString checkedTexts(std::span<const Privilege> privileges, const Checks &checks)
{
    QString texts;
    for (std::size_t i = 0; i < privileges.size(); ++i) {
        if (i < checks.size() && checks[i])
            texts += privileges[i].grantText;
    }
    return texts;
}

} // namespace

std::span<const Privilege> globalPrivileges()
{
    return global;
}

std::span<const Privilege> databasePrivileges()
{
    return database;
}

std::span<const Privilege> tablePrivileges()
{
    return table;
}

QString requiredPrivilegeList(std::span<const Privilege> privileges, const Checks &checks)
{
    return cutAtLastComma(checkedTexts(privileges, checks)) + QStringLiteral("\r\n");
}

QString privilegeList(std::span<const Privilege> privileges, const Checks &checks)
{
    if (checkedTexts(privileges, checks).isEmpty())
        return QStringLiteral("USAGE");
    return requiredPrivilegeList(privileges, checks);
}

bool setHolds(const QString &setValue, QStringView element)
{
    // Compared whole: MariaDB's "Delete versioning rows" is not "Delete".
    const auto elements = QStringView(setValue).split(u',');
    return std::any_of(elements.begin(), elements.end(), [element](QStringView each) {
        return each.compare(element, Qt::CaseInsensitive) == 0;
    });
}

QStringList shownRights(std::span<const Privilege> privileges)
{
    return checkedRights(privileges, Checks(privileges.size(), true));
}

QStringList checkedRights(std::span<const Privilege> privileges, const Checks &checks)
{
    return checkedTexts(privileges, checks).split(u',', Qt::SkipEmptyParts);
}
