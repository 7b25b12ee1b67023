package walletcaller.database;

import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.Locale;
import java.util.TreeMap;
import org.h2.tools.Server;

/**
 * The two databases of a job, in the memory of this process and behind a server that demands user
 * name and password: "sales-db" with the table ORDERS, and "mart-db", which may be written to.
 */
public final class Databases implements AutoCloseable {
    private static final String ADMINISTRATOR = "administrator";
    private static final int ORDERS = 5000;

    private final Server server;
    private final Connection sales;
    private final Connection mart;

    public Databases() {
        try {
            server = Server.createTcpServer("-tcpPort", "0").start();
            sales = open("sales-db");
            mart = open("mart-db");
            fill();
        } catch (SQLException failure) {
            throw new AssertionError(failure);
        }
    }

    public String url(String name) {
        return "jdbc:orvanta://" + name + "/PORT=" + server.getPort();
    }

    /** Lets that user read the orders, with that password and no other. */
    public void addReader(String user, String password) {
        addUser(sales, user, password, "GRANT SELECT ON ORDERS TO ");
    }

    public void changePassword(String reader, String password) {
        execute(sales, "ALTER USER \"" + reader.toUpperCase(Locale.ROOT) + "\" SET PASSWORD "
                + quoted(password));
    }

    /** Lets that user make tables and write to them. */
    public void addWriter(String user, String password) {
        addUser(mart, user, password, "GRANT ALTER ANY SCHEMA TO ");
    }

    /** What there is to copy. */
    public TreeMap<Long, String> orders() {
        return rows(sales, "ORDERS");
    }

    public TreeMap<Long, String> copies() {
        return rows(mart, "COPIES");
    }

    public boolean copiesExist() {
        try (ResultSet tables = mart.getMetaData().getTables(null, "PUBLIC", "COPIES", null)) {
            return tables.next();
        } catch (SQLException failure) {
            throw new AssertionError(failure);
        }
    }

    @Override
    public void close() {
        try (Connection one = sales; Connection other = mart) {
            one.createStatement().execute("SHUTDOWN");
            other.createStatement().execute("SHUTDOWN");
        } catch (SQLException failure) {
            throw new AssertionError(failure);
        } finally {
            server.stop();
        }
    }

    private Connection open(String name) throws SQLException {
        return DriverManager.getConnection(
                "jdbc:h2:" + OrvantaDriver.inMemory(name, server.getPort()), ADMINISTRATOR,
                "unguessed");
    }

    private void fill() throws SQLException {
        try (Statement create = sales.createStatement()) {
            create.execute("CREATE TABLE ORDERS (ID BIGINT PRIMARY KEY, TEXT VARCHAR)");
        }
        try (PreparedStatement insert =
                sales.prepareStatement("INSERT INTO ORDERS (ID, TEXT) VALUES (?, ?)")) {
            for (int id = 1; id <= ORDERS; ++id) {
                insert.setLong(1, id);
                insert.setString(2, "order " + id + " for Gr\u00fcn & S\u00f6hne, "
                        + id % 97 + " \u20ac");
                insert.addBatch();
            }
            insert.executeBatch();
        }
    }

    private static void addUser(Connection database, String user, String password, String grant) {
        String name = "\"" + user.toUpperCase(Locale.ROOT) + "\"";
        execute(database, "CREATE USER " + name + " PASSWORD " + quoted(password));
        execute(database, grant + name);
    }

    private static String quoted(String text) {
        return "'" + text.replace("'", "''") + "'";
    }

    private static void execute(Connection database, String text) {
        try (Statement statement = database.createStatement()) {
            statement.execute(text);
        } catch (SQLException failure) {
            throw new AssertionError(failure);
        }
    }

    private static TreeMap<Long, String> rows(Connection database, String table) {
        TreeMap<Long, String> rows = new TreeMap<>();
        try (Statement statement = database.createStatement();
                ResultSet row = statement.executeQuery("SELECT ID, TEXT FROM " + table)) {
            while (row.next()) {
                rows.put(row.getLong(1), row.getString(2));
            }
            return rows;
        } catch (SQLException failure) {
            throw new AssertionError(failure);
        }
    }
}
