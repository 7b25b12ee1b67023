package walletcaller.database;

import java.sql.Connection;
import java.sql.Driver;
import java.sql.DriverManager;
import java.sql.DriverPropertyInfo;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.util.Properties;
import java.util.logging.Logger;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * Lets an H2 server of this machine stand in for an Orvanta database: {@code
 * jdbc:orvanta://NAME/PORT=NUMBER} is the database in memory NAME of the server at that port. The
 * server demands user name and password.
 */
public final class OrvantaDriver implements Driver {
    private static final Pattern URL = Pattern.compile("jdbc:orvanta://([a-z-]+)/PORT=(\\d+)");

    static {
        try {
            DriverManager.registerDriver(new OrvantaDriver());
        } catch (SQLException failure) {
            throw new ExceptionInInitializerError(failure);
        }
    }

    @Override
    public Connection connect(String url, Properties login) throws SQLException {
        Matcher parts = URL.matcher(url);
        if (!parts.matches()) {
            return null;
        }
        int port = Integer.parseInt(parts.group(2));
        return new org.h2.Driver().connect("jdbc:h2:tcp://localhost:" + port + "/"
                + inMemory(parts.group(1), port), login);
    }

    /** H2's name for the database; servers in one process do not share them. */
    static String inMemory(String name, int port) {
        return "mem:" + name + "-" + port;
    }

    @Override
    public boolean acceptsURL(String url) {
        return URL.matcher(url).matches();
    }

    @Override
    public DriverPropertyInfo[] getPropertyInfo(String url, Properties login) {
        return new DriverPropertyInfo[0];
    }

    @Override
    public int getMajorVersion() {
        return 1;
    }

    @Override
    public int getMinorVersion() {
        return 0;
    }

    @Override
    public boolean jdbcCompliant() {
        return false;
    }

    @Override
    public Logger getParentLogger() throws SQLFeatureNotSupportedException {
        throw new SQLFeatureNotSupportedException();
    }
}
