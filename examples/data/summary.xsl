<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text"/>
  <xsl:param name="title"/>
  <xsl:template match="/orders">
    <xsl:message>
      <xsl:value-of select="count(order)"/> to do</xsl:message>
    <xsl:value-of select="concat($title, '&#10;')"/>
    <xsl:for-each select="order">
      <xsl:value-of select="concat('  ', @number, ' ', article, '&#10;')"/>
    </xsl:for-each>
  </xsl:template>
</xsl:stylesheet>
